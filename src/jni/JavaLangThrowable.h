// Thrown where a Java exception is pending: nothing is to be raised in its place.
//
// It has no base class so that no handler for std::exception catches it. The native call ends at
// once, objects are freed on the way, and the Java caller sees the pending exception.
#pragma once

struct JavaLangThrowable {};
