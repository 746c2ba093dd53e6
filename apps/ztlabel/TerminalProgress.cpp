#include "TerminalProgress.h"

#include "Messages.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace ztlabel {

namespace {

constexpr int kBarWidth = 40;
constexpr std::chrono::milliseconds kDelay(150);

}  // namespace

void TerminalProgress::setProgressValueGlobal(float value) {
    value_ = value;
    draw();
}

void TerminalProgress::setProgressText(const char* text) {
    if (*text == '\0')  // from operations that have nothing to say
        return;
    text_ = text;
    drawnPercent_ = -1;
    draw();
}

void TerminalProgress::draw() {
    const int percent = std::clamp(static_cast<int>(value_ * 100), 0, 100);
    if (!shown_ || percent == drawnPercent_ || Clock::now() - start_ < kDelay)
        return;
    drawnPercent_ = percent;
    drawn_ = true;
    std::string bar(static_cast<std::size_t>(percent * kBarWidth / 100), '#');
    bar.resize(kBarWidth, '.');
    std::fprintf(stderr, "\r%-10.10s [%s] %3d %%", text_.c_str(), bar.c_str(), percent);
    std::fflush(stderr);
}

void TerminalProgress::wipe() {
    if (drawn_)
        std::fprintf(stderr, "\r\033[K");
    drawn_ = false;
    drawnPercent_ = -1;
}

void Messages::note(const std::string& text) const {
    if (verbosity_ != Verbosity::quiet)
        print(text);
}

void Messages::detail(const std::string& text) const {
    if (verbosity_ == Verbosity::verbose)
        print(text);
}

void Messages::print(const std::string& text) const {
    bar_.wipe();
    std::fprintf(stderr, "ztlabel: %s\n", text.c_str());
}

}  // namespace ztlabel
