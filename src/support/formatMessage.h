// What every message of this library passes through: the formatter, and the texts of error numbers.
//
// Conversions: "%%", "%s" (NUL-terminated UTF-8), "%u", "%d", "%ld" and "%X" (upper case,
// unsigned), without flags, width or precision. Anything else after a "%", and a "%" at the end, is
// kept as it stands and takes no argument. Inserted text is never scanned for conversions.
//
// Template and inserted texts are decoded from UTF-8 into code points, spliced and encoded back, so
// malformed UTF-8 is a failure and never part of a message: utf8::invalid_utf8 ("Invalid UTF-8"),
// utf8::not_enough_room ("Not enough space": a sequence cut short by the end of the text) or
// utf8::invalid_code_point ("Invalid code point": a surrogate or beyond 0x10FFFF) leaves.
//
// No state is kept; any thread may call.
#pragma once

#include <cstdarg>
#include <string>

namespace Orvanta_OvWallet {

[[gnu::format(printf, 1, 2)]] std::string formatMessage(const char* messageTemplate, ...);

// The same for an argument list that was started already; the caller ends it.
[[gnu::format(printf, 1, 0)]] std::string formatMessageV(const char* messageTemplate,
                                                         std::va_list startedArguments);

// The system's text for an error number, for the "(errno = ...)" part of messages, whole whatever
// its length. errno itself is not read: save it on the line after the failing call and pass it
// here.
std::string errnoText(int errnum);

}  // namespace Orvanta_OvWallet
