// What the tool says on standard error beside its one line about a failure.
#pragma once

#include <string>

namespace ztlabel {

enum class Verbosity { quiet, normal, verbose };

class TerminalProgress;

/// Prints notes, each a line of its own that does not run into the progress bar.
class Messages {
public:
    Messages(Verbosity verbosity, TerminalProgress& bar) : verbosity_(verbosity), bar_(bar) {}

    /// Something the user should know about the result; not with -q.
    void note(const std::string& text) const;
    /// What is being done; only with -v.
    void detail(const std::string& text) const;

private:
    void print(const std::string& text) const;

    Verbosity verbosity_;
    TerminalProgress& bar_;
};

}  // namespace ztlabel
