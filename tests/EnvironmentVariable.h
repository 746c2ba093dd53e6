// Sets a variable of the environment for a test.
#pragma once

#include <cstdlib>
#include <list>
#include <string>

#include "ScratchFolder.h"

/// Gives a variable a value for as long as it lives, then the old one again. The empty text stands
/// for an unset variable, which on Windows it is.
class EnvironmentVariable {
public:
    EnvironmentVariable(const std::string& name, const std::string& value) : before_(name) {
        if (const char* const old = std::getenv(name.c_str()))
            before_ += std::string("=") + old;
        else if (!kNamesAreBytes)
            before_ += "=";  // takes it out on Windows, the name alone elsewhere
        set(name + "=" + value);
    }
    ~EnvironmentVariable() { set(before_); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    static void set(const std::string& text) {
        // The texts become part of the environment, so they stay.
        static auto* const texts = new std::list<std::string>;
        texts->push_back(text);
        putenv(texts->back().data());
    }

    std::string before_;
};
