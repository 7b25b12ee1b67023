#include "tool/command/parseCommandLine.h"

#include <string>
#include <vector>

#include "tool/command/commandLine.h"
#include "tool/command/nearestWord.h"
#include "tool/output/printable.h"

namespace Orvanta_OvWallet::Tool {
namespace {

PrintText wrongUsage(const std::string& complaint, const std::string& command) {
    return {"walletcaller: " + complaint + "\nwalletcaller " +
                (command.empty() ? command : command + " ") + "--help tells more.\n",
            kWrongUsage};
}

std::string withSuggestion(const std::string& complaint, const std::string& wrong,
                           const std::vector<std::string>& right) {
    const std::optional<std::string> nearest = nearestWord(wrong, right);
    return complaint + " " + inQuotes(wrong) +
           (nearest ? "; did you mean \"" + *nearest + "\"?" : "");
}

std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::vector<std::string> commandNames(const CLI::App& parser) {
    std::vector<std::string> names;
    for (const CLI::App* command : parser.get_subcommands({})) {
        names.push_back(command->get_name());
    }
    return names;
}

PrintText unexpected(const CLI::App& parser, const CLI::App* command, const std::string& word) {
    if (command == nullptr && !word.starts_with("-")) {
        return wrongUsage(withSuggestion("there is no command", word, commandNames(parser)), "");
    }
    const CLI::App& owner = command == nullptr ? parser : *command;
    const std::string where = command == nullptr ? "" : command->get_name();
    const std::string name = word.substr(0, word.find('='));
    if (word.starts_with("-")) {
        return wrongUsage(withSuggestion("there is no option", name, optionNames(owner)), where);
    }
    return wrongUsage(inQuotes(word) + " is one word too many", where);
}

Command commandOf(const CLI::App& parser, ParsedOptions& options) {
    const std::vector<CLI::App*> given = parser.get_subcommands();
    const CLI::App* const command = given.empty() ? nullptr : given.front();
    if (const std::vector<std::string> extras = parser.remaining(true); !extras.empty()) {
        return unexpected(parser, command, extras.front());
    }
    if (given.size() != 1) {
        return given.empty()
                   ? wrongUsage("a command is missing", "")
                   : wrongUsage(inQuotes(given[1]->get_name()) + " is a second command", "");
    }
    const std::string name = command->get_name();
    if (name == "doctor") {
        return options.doctor;
    }
    if (name == "explain" && options.explain.input.value_or("-") != "-") {
        return wrongUsage(inQuotes(*options.explain.input) +
                              " is not expected here; --text gives a text, --file a file, \"-\" "
                              "standard input",
                          name);
    }
    if (name == "explain") {
        return options.explain;
    }
    if (name == "why") {
        return options.why;
    }
    return options.version;
}

}  // namespace

Command parseCommandLine(int argumentCount, const char* const* arguments) {
    ParsedOptions options;
    const std::unique_ptr<CLI::App> parser = makeParser(options);
    try {
        parser->parse(argumentCount, arguments);
        return commandOf(*parser, options);
    } catch (const CLI::CallForHelp&) {
        return PrintText{parser->help(), kNoFailure};
    } catch (const CLI::CallForVersion& version) {
        return PrintText{std::string(version.what()) + "\n", kNoFailure};
    } catch (const CLI::ParseError& error) {
        const std::vector<CLI::App*> given = parser->get_subcommands();
        return wrongUsage(error.what(), given.empty() ? "" : given.front()->get_name());
    }
}

}  // namespace Orvanta_OvWallet::Tool
