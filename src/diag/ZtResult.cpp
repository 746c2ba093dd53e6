// Results: their records and their notification.
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtResult.h>

#include <climits>

#include "diag/ResultMessages.h"

namespace {

struct Callback {
    ZtResult::NotificationCallback function;
    void* user;
    long long number;  // in the order in which callbacks were added
};

ZtDArray<Callback, 1>& callbacks() {
    static auto* const list = new ZtDArray<Callback, 1>;
    return *list;
}

const char* messageOr(const char* data, int code) {
    return data && *data ? data : zt_diag::standardMessage(code);
}

}  // namespace

ZtResultBase::ZtResultBase(int code, int line, const char* file, const char* text, const char* data,
                           bool isStatic)
    : code_(code),
      line_(line),
      file_(file),
      text_(text),
      data_(messageOr(data, code)),
      isStatic_(isStatic) {}

ZtResultBase::ZtResultBase(const ZtResultBase& other, const char* data)
    : code_(other.code_), line_(other.line_), file_(other.file_), text_(other.text_), data_(data) {}

ZtResultBase::~ZtResultBase() = default;

ZtResult::ZtResult(int code, const char* text, const char* data, bool isStatic)
    : ZtResult(new ZtResultBase(code, 0, nullptr, text, data, isStatic)) {}

ZtResult::ZtResult(int line, const char* file, const char* text, const char* data)
    : ZtResult(0, line, file, text, data) {}

ZtResult::ZtResult(int code, int line, const char* file, const char* text, const char* data)
    : ZtResult(new ZtResultBase(code, line, file, text, data, false)) {}

const ZtResult& ZtResult::check() const {
    if (failed())
        throw ZtResult(*this);
    return *this;
}

const ZtResult& ZtResult::notify() const {
    if (ok())
        return *this;
    const ZtDArray<Callback, 1>& list = callbacks();
    // A callback may change the list: the next one is the last that was added before it.
    long long called = LLONG_MAX;
    for (;;) {
        int i = list.size() - 1;
        while (i >= 0 && list[i].number >= called)
            --i;
        if (i < 0)
            return *this;
        const Callback callback = list[i];
        if (callback.function(*this, callback.user))
            return *this;
        called = callback.number;
    }
}

ZtResult ZtResult::duplicate(const char* data) const {
    return ZtResult(new ZtResultBase(*record_, data));
}

void ZtResult::notificationCallbackAdd(NotificationCallback callback, void* user) {
    static long long number = 0;
    if (callback)
        callbacks().push({callback, user, number++});
}

void ZtResult::notificationCallbackRemove(NotificationCallback callback) {
    ZtDArray<Callback, 1>& list = callbacks();
    for (int i = list.size() - 1; i >= 0; --i)
        if (list[i].function == callback) {
            list.remove(i);
            return;
        }
}

const ZtResultBase* ZtResult::okRecord() {
    static const ZtResultBase* const record =
        new ZtResultBase(0, 0, nullptr, nullptr, nullptr, true);
    return record;
}
