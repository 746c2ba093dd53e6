// Files that appear complete or not at all: each is written beside its place and renamed at the
// end.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace ztlabel {

/// Where bytes go. Throws Failure when they cannot.
class ByteSink {
public:
    virtual ~ByteSink() = default;
    virtual void write(const void* bytes, std::size_t count) = 0;
};

/// One output file, under a temporary name in its folder until it is put in place. Whatever ends
/// its life before, an exception or a signal, removes what was written.
class OutputFile : public ByteSink {
public:
    /// Throws Failure when `path` exists and `overwrite` is not set, when it is not a regular file,
    /// or when its folder cannot be written to.
    OutputFile(const std::string& path, bool overwrite);
    ~OutputFile() override;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& path() const { return path_; }
    void write(const void* bytes, std::size_t count) override;
    void write(const std::string& text) { write(text.data(), text.size()); }
    /// Brings everything to the disk; what is left is the renaming.
    void close();
    void putInPlace();

private:
    [[noreturn]] void fail(int error) const;

    std::string path_;
    std::string target_;  // where a symbolic link at path_ leads
    std::string temporary_;
    std::FILE* stream_ = nullptr;
};

/// All outputs of a run. They are opened before the work starts, so that one that cannot be written
/// is told at once, and put in place together after the last is complete.
class OutputFiles {
public:
    explicit OutputFiles(bool overwrite) : overwrite_(overwrite) {}

    /// The file stays owned here.
    OutputFile& add(const std::string& path);
    void putInPlace();
    const std::vector<std::unique_ptr<OutputFile>>& files() const { return files_; }

private:
    bool overwrite_;
    std::vector<std::unique_ptr<OutputFile>> files_;
};

/// Compresses into another sink; with `compress` false it only passes on. `finish` writes the end.
class CompressingSink : public ByteSink {
public:
    CompressingSink(ByteSink& sink, bool compress);
    ~CompressingSink() override;
    CompressingSink(const CompressingSink&) = delete;
    CompressingSink& operator=(const CompressingSink&) = delete;

    void write(const void* bytes, std::size_t count) override;
    void finish();

private:
    struct Stream;
    void pump(int flush);

    ByteSink& sink_;
    std::unique_ptr<Stream> stream_;
};

}  // namespace ztlabel
