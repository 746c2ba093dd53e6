// ZtResult: how an operation went.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtHandable.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include <cstddef>

/// What results share: a code, where and why it was made, and whether it is a constant. Texts that
/// are null count as empty; a message (`data`) that is null or empty is the standard one of the
/// code, if it has one.
class ZTLIB_API ZtResultBase : public ZtHandable {
public:
    /// A record with copies of the texts; see the constructors of `ZtResult`.
    ZtResultBase(int code, int line, const char* file, const char* text, const char* data,
                 bool isStatic);
    ZtResultBase(const ZtResultBase& other) = default;
    ZtResultBase& operator=(const ZtResultBase& other) = default;

    /// The fields; texts are never null.
    int code() const { return code_; }
    int line() const { return line_; }
    const char* file() const { return file_.getString(); }
    const char* text() const { return text_.getString(); }
    const char* data() const { return data_.getString(); }
    /// Whether the record is a constant, which is neither counted nor ever deleted.
    bool isStatic() const { return isStatic_; }

    /// Compare the codes alone.
    bool operator==(const ZtResultBase& other) const { return code_ == other.code_; }
    bool operator!=(const ZtResultBase& other) const { return code_ != other.code_; }

    /// Records come from `ztmalloc`, so that exhausted memory is reported as everywhere.
    static void* operator new(std::size_t size) { return ztmalloc(size); }
    static void operator delete(void* record) noexcept { ztfree(record); }

protected:
    ~ZtResultBase() override;

private:
    friend class ZtResult;

    ZtResultBase() = default;
    /// A copy with another message, taken as it is, that is no constant.
    ZtResultBase(const ZtResultBase& other, const char* data);

    int code_ = 0;
    int line_ = 0;
    ZtString file_;
    ZtString text_;
    ZtString data_;
    bool isStatic_ = false;
};

/// How an operation went: a code, 0 for success, with a line, a file, a text and a message. The
/// library's codes and their constants stand below; 4096 + n is number n of the C runtime for which
/// the library was first written (2 for "no such file", 17 for "exists"), whatever the system at
/// hand calls it: choose the constant by its name, never add 4096 to an `errno`.
///
/// A result is one pointer to a counted record, so copies are cheap and share it; `duplicate` makes
/// one of its own. Making a record takes memory and may throw `ZtMemoryException`. The counts are
/// plain numbers: threads may share a result if they do not copy it, and not its copies, at the
/// same time. The constants are not counted and serve all threads, from before the static objects
/// of a program start until after they end.
class ZTLIB_API ZtResult {
public:
    /// Success; shares the record of `ZtOK`.
    ZtResult() : record_(okRecord()) {}

    /// A result of a code with a text and a message (for null and "", the code's standard one).
    /// With `isStatic` its record stays for good, which is meant for constants.
    ZtResult(int code, const char* text, const char* data, bool isStatic);

    /// A success that says where it was made.
    ZtResult(int line, const char* file, const char* text, const char* data);

    /// A result that says where it was made.
    ZtResult(int code, int line, const char* file, const char* text, const char* data);

    ZtResult(const ZtResult& other) : record_(other.record_) { retain(); }
    ZtResult& operator=(const ZtResult& other) {
        other.retain();  // first, since the old record may be the same
        release();
        record_ = other.record_;
        return *this;
    }
    ~ZtResult() { release(); }

    /// The fields of the record; texts are never null.
    int code() const { return record_->code(); }
    int line() const { return record_->line(); }
    /// The texts are never null, and live as long as a result that shares them.
    const char* file() const { return record_->file(); }
    const char* text() const { return record_->text(); }
    /// The message.
    const char* data() const { return record_->data(); }
    bool hasData() const { return *data() != '\0'; }

    /// Whether the code is 0.
    bool ok() const { return code() == 0; }
    /// Whether the code is not 0; also that of `ZtFALSE` is a failure.
    bool failed() const { return code() != 0; }
    operator bool() const { return ok(); }

    /// Compare the codes alone.
    bool operator==(const ZtResult& other) const { return code() == other.code(); }
    bool operator!=(const ZtResult& other) const { return code() != other.code(); }

    /// Throws a copy of this result if it failed, else returns it.
    const ZtResult& check() const;

    /// Shows a failed result to the notification callbacks, the last added first, until one says
    /// that it has handled it. Returns this result.
    const ZtResult& notify() const;

    /// Returns a result with a record of its own that differs in the message: `data` as it is,
    /// empty for null.
    ZtResult duplicate(const char* data) const;

    /// Sees a failed result; returns whether it is handled, so that no other callback need see it.
    typedef bool (*NotificationCallback)(const ZtResult& result, void* user);

    /// Adds a callback, which gets `user`, for the whole process; null is ignored. The same may be
    /// added again. Add callbacks before worker threads start. They may add and remove callbacks
    /// themselves: one that is added is not called in that round.
    static void notificationCallbackAdd(NotificationCallback callback, void* user);

    /// Removes what was added last with this callback, if anything was.
    static void notificationCallbackRemove(NotificationCallback callback);

private:
    explicit ZtResult(const ZtResultBase* record) : record_(record) { retain(); }

    static const ZtResultBase* okRecord();

    void retain() const {
        if (!record_->isStatic())
            record_->ref();
    }
    void release() const {
        if (!record_->isStatic())
            record_->unref();
    }

    const ZtResultBase* record_;
};

// The library's own codes, from 0 on; 10 is not in use.
extern ZTLIB_API const ZtResult ZtOK, ZtINVALIDARGUMENT, ZtINTERNALERROR, ZtNODATA, ZtNOTSUPPORTED,
    ZtREADONLY, ZtOUTOFRANGE, ZtNOTIMPLEMENTED, ZtOUTOFMEMORY, ZtFALSE, ZtINTERRUPTED;

// Errors of the system, from 4097 on.
extern ZTLIB_API const ZtResult ZtEPERM, ZtENOENT, ZtESRCH, ZtEINTR, ZtEIO, ZtENXIO, ZtE2BIG,
    ZtENOEXEC, ZtEBADF, ZtECHILD, ZtEAGAIN, ZtENOMEM, ZtEACCES, ZtEFAULT, ZtEBUSY, ZtEEXIST,
    ZtEXDEV, ZtENODEV, ZtENOTDIR, ZtEISDIR, ZtEINVAL, ZtENFILE, ZtEMFILE, ZtENOTTY, ZtEFBIG,
    ZtENOSPC, ZtESPIPE, ZtEROFS, ZtEMLINK, ZtEPIPE, ZtEDOM, ZtERANGE, ZtEDEADLK, ZtENAMETOOLONG,
    ZtENOLCK, ZtENOSYS, ZtENOTEMPTY, ZtEILSEQ;
