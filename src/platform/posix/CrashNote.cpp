// The crash note: what happened, the registers, the memory map and the backtrace.
#include "platform/posix/CrashNote.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <link.h>
#include <time.h>
#include <unistd.h>
#include <unwind.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace platform {

namespace {

constexpr int kMostFrames = 256;

// The program's own path, which the loader does not keep; read before anything crashes.
char programPath[PATH_MAX];

// A file written through a small buffer on the stack.
class NoteFile {
public:
    explicit NoteFile(const char* path)
        : file_(open(path, O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR)) {}
    ~NoteFile() {
        if (isOpen())
            close(file_);
    }
    NoteFile(const NoteFile&) = delete;
    NoteFile& operator=(const NoteFile&) = delete;

    bool isOpen() const { return file_ >= 0; }

    NoteFile& bytes(const char* from, std::size_t count) {
        for (; count > 0; --count, ++from) {
            if (used_ == sizeof buffer_)
                flush();
            buffer_[used_++] = *from;
        }
        return *this;
    }
    NoteFile& text(const char* from) { return bytes(from, std::strlen(from)); }

    // A text of the program's, of which nobody knows what it holds: one line.
    NoteFile& line(const char* from) {
        for (; *from; ++from)
            bytes(*from == '\n' || *from == '\r' ? " " : from, 1);
        return text("\n");
    }

    NoteFile& decimal(long long value) {
        char digits[20];
        std::size_t at = sizeof digits;
        unsigned long long rest = static_cast<unsigned long long>(value);
        if (value < 0) {
            text("-");
            rest = 0 - rest;
        }
        do
            digits[--at] = static_cast<char>('0' + rest % 10);
        while ((rest /= 10) != 0);
        return bytes(digits + at, sizeof digits - at);
    }

    NoteFile& hex(unsigned long long value, int least = 1) {
        char digits[16];
        std::size_t at = sizeof digits;
        for (; value != 0 || least > 0; value >>= 4, --least)
            digits[--at] = "0123456789abcdef"[value & 15];
        return text("0x").bytes(digits + at, sizeof digits - at);
    }

    // Whether all that was written so far is in the file; errno tells why not.
    bool flush() {
        const char* from = buffer_;
        while (used_ > 0 && error_ == 0) {
            const ssize_t count = write(file_, from, used_);
            if (count < 0 && errno != EINTR)
                error_ = errno;
            if (count > 0) {
                from += count;
                used_ -= static_cast<std::size_t>(count);
            }
        }
        used_ = 0;
        errno = error_;
        return error_ == 0;
    }

private:
    int file_;
    int error_ = 0;
    std::size_t used_ = 0;
    char buffer_[4096];
};

struct Named {
    int number;
    const char* name;
};

struct SignalNames {
    int signal;
    const char* name;
    Named codes[9];
};

constexpr SignalNames kSignals[] = {
    {SIGSEGV, "SIGSEGV", {{SEGV_MAPERR, "SEGV_MAPERR"}, {SEGV_ACCERR, "SEGV_ACCERR"}}},
    {SIGBUS,
     "SIGBUS",
     {{BUS_ADRALN, "BUS_ADRALN"}, {BUS_ADRERR, "BUS_ADRERR"}, {BUS_OBJERR, "BUS_OBJERR"}}},
    {SIGILL,
     "SIGILL",
     {{ILL_ILLOPC, "ILL_ILLOPC"},
      {ILL_ILLOPN, "ILL_ILLOPN"},
      {ILL_ILLADR, "ILL_ILLADR"},
      {ILL_ILLTRP, "ILL_ILLTRP"},
      {ILL_PRVOPC, "ILL_PRVOPC"},
      {ILL_PRVREG, "ILL_PRVREG"},
      {ILL_COPROC, "ILL_COPROC"},
      {ILL_BADSTK, "ILL_BADSTK"}}},
    {SIGFPE,
     "SIGFPE",
     {{FPE_INTDIV, "FPE_INTDIV"},
      {FPE_INTOVF, "FPE_INTOVF"},
      {FPE_FLTDIV, "FPE_FLTDIV"},
      {FPE_FLTOVF, "FPE_FLTOVF"},
      {FPE_FLTUND, "FPE_FLTUND"},
      {FPE_FLTRES, "FPE_FLTRES"},
      {FPE_FLTINV, "FPE_FLTINV"},
      {FPE_FLTSUB, "FPE_FLTSUB"}}},
};

constexpr Named kSenders[] = {{SI_USER, "sent by a process"},
                              {SI_TKILL, "sent by a thread"},
                              {SI_QUEUE, "sent by a process"},
                              {SI_KERNEL, "sent by the kernel"}};

const SignalNames* namesOf(int signal) {
    for (const SignalNames& names : kSignals)
        if (names.signal == signal)
            return &names;
    return nullptr;
}

const char* nameOfCode(const SignalNames* names, int code) {
    for (const Named& sender : kSenders)
        if (sender.number == code)
            return sender.name;
    if (names)
        for (const Named& named : names->codes)
            if (named.name && named.number == code)
                return named.name;
    return "unknown";
}

void writeHead(NoteFile& note, const CrashFacts& facts) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    note.text("crash note 1\nprogram: ").line(programPath);
    note.text("process: ").decimal(getpid()).text("\nthread: ").decimal(gettid());
    note.text("\nseconds since 1970: ").decimal(now.tv_sec);
    if (facts.info) {
        const SignalNames* const names = namesOf(facts.info->si_signo);
        note.text("\nsignal: ").decimal(facts.info->si_signo);
        note.text(" ").text(names ? names->name : "unknown");
        note.text("\ncode: ").decimal(facts.info->si_code);
        note.text(" ").text(nameOfCode(names, facts.info->si_code));
        if (facts.info->si_code > 0)
            note.text("\nfault address: ")
                .hex(reinterpret_cast<std::uintptr_t>(facts.info->si_addr), 16);
        else
            note.text("\nsent by process: ").decimal(facts.info->si_pid);
    } else {
        note.text("\nsignal: none, a C++ exception that nothing caught");
    }
    note.text("\nreason: ");
    if (facts.reason)
        note.text(facts.reason);
    else
        note.text("Unhandled exception, code ").decimal(facts.code);
    note.text("\n");
    if (facts.text)
        note.text("exception: ").line(facts.text);
}

#if defined(__x86_64__)
struct Register {
    int index;
    const char* name;
};
constexpr Register kRegisters[] = {
    {REG_RIP, "rip"}, {REG_RSP, "rsp"},    {REG_RBP, "rbp"},   {REG_RAX, "rax"},
    {REG_RBX, "rbx"}, {REG_RCX, "rcx"},    {REG_RDX, "rdx"},   {REG_RSI, "rsi"},
    {REG_RDI, "rdi"}, {REG_R8, "r8"},      {REG_R9, "r9"},     {REG_R10, "r10"},
    {REG_R11, "r11"}, {REG_R12, "r12"},    {REG_R13, "r13"},   {REG_R14, "r14"},
    {REG_R15, "r15"}, {REG_EFL, "eflags"}, {REG_ERR, "error"}, {REG_TRAPNO, "trap"}};

void writeRegisters(NoteFile& note, const ucontext_t& context) {
    for (const Register& each : kRegisters) {
        note.text("  ").text(each.name).text(" ");
        note.hex(static_cast<unsigned long long>(context.uc_mcontext.gregs[each.index]), 16);
        note.text("\n");
    }
}
#elif defined(__aarch64__)
void writeRegisters(NoteFile& note, const ucontext_t& context) {
    note.text("  pc ").hex(context.uc_mcontext.pc, 16);
    note.text("\n  sp ").hex(context.uc_mcontext.sp, 16);
    note.text("\n  pstate ").hex(context.uc_mcontext.pstate, 16).text("\n");
    for (int i = 0; i < 31; ++i)
        note.text("  x").decimal(i).text(" ").hex(context.uc_mcontext.regs[i], 16).text("\n");
}
#else
void writeRegisters(NoteFile& note, const ucontext_t&) {
    note.text("  (not known for this processor)\n");
}
#endif

void writeMemoryMap(NoteFile& note) {
    const int maps = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (maps < 0) {
        note.text("  (cannot be read)\n");
        return;
    }
    char piece[1024];
    for (;;) {
        const ssize_t count = read(maps, piece, sizeof piece);
        if (count > 0)
            note.bytes(piece, static_cast<std::size_t>(count));
        else if (count == 0 || errno != EINTR)
            break;
    }
    close(maps);
}

// One line: number, address, module, and the offset in the module that addr2line takes. `address`
// lies in the instruction itself, not behind it.
void writeFrame(NoteFile& note, int number, std::uintptr_t address) {
    note.text("  #").decimal(number).text(" ").hex(address, 16);
    // The loader's own table, made for unwinders and safe to be asked by a signal handler.
    dl_find_object found = {};
    if (_dl_find_object(reinterpret_cast<void*>(address), &found) == 0) {
        const char* const path = found.dlfo_link_map->l_name;
        note.text(" ").text(path && *path ? path : programPath);
        note.text(" ").hex(address - found.dlfo_link_map->l_addr);
    }
    note.text("\n");
}

struct Walk {
    NoteFile* note;
    std::uintptr_t start;  // where the crash happened: what comes before is the handler
    bool started;
    int count;
};

_Unwind_Reason_Code onFrame(_Unwind_Context* context, void* argument) {
    Walk& walk = *static_cast<Walk*>(argument);
    int isExact = 0;
    const std::uintptr_t address = _Unwind_GetIPInfo(context, &isExact);
    if (!walk.started && address != walk.start)
        return _URC_NO_REASON;
    walk.started = true;
    if (address == 0)
        return _URC_END_OF_STACK;
    if (walk.count == kMostFrames) {
        walk.note->text("  ... and more\n");
        return _URC_END_OF_STACK;
    }
    // A return address may be that of the next line, or of the next function.
    writeFrame(*walk.note, walk.count++, address - (isExact ? 0 : 1));
    return _URC_NO_REASON;
}

bool isInModule(std::uintptr_t address) {
    dl_find_object found = {};
    return _dl_find_object(reinterpret_cast<void*>(address), &found) == 0;
}

// Takes the context back to the caller of a function that was entered and did nothing yet.
void returnToCaller(ucontext_t& context) {
#if defined(__x86_64__)
    greg_t* const registers = context.uc_mcontext.gregs;
    registers[REG_RIP] = *reinterpret_cast<const greg_t*>(registers[REG_RSP]);
    registers[REG_RSP] += static_cast<greg_t>(sizeof(greg_t));
#elif defined(__aarch64__)
    context.uc_mcontext.pc = context.uc_mcontext.regs[30];
#else
    (void)context;
#endif
}

void writeBacktrace(NoteFile& note, const CrashFacts& facts) {
    Walk walk{&note, 0, true, 0};
    if (!facts.info) {
        _Unwind_Backtrace(onFrame, &walk);
        return;
    }
    const ucontext_t crash = *facts.context;
    if (!isInModule(programCounterOf(crash))) {
        // A call through a pointer to nowhere, where no unwinder finds its way. It goes from the
        // handler back to where the context says, so that is made to be the caller.
        writeFrame(note, walk.count++, programCounterOf(crash));
        returnToCaller(*facts.context);
    }
    walk.start = programCounterOf(*facts.context);
    walk.started = false;
    _Unwind_Backtrace(onFrame, &walk);
    *facts.context = crash;
    if (!walk.started)
        writeFrame(note, walk.count, walk.start);
}

_Unwind_Reason_Code ignoreFrame(_Unwind_Context*, void*) {
    return _URC_NO_REASON;
}

}  // namespace

std::uintptr_t stackPointerOf(const ucontext_t& context) {
#if defined(__x86_64__)
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RSP]);
#elif defined(__aarch64__)
    return static_cast<std::uintptr_t>(context.uc_mcontext.sp);
#else
    return 0;
#endif
}

std::uintptr_t programCounterOf(const ucontext_t& context) {
#if defined(__x86_64__)
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return static_cast<std::uintptr_t>(context.uc_mcontext.pc);
#else
    return 0;
#endif
}

void prepareCrashNote() {
    const ssize_t length = readlink("/proc/self/exe", programPath, sizeof programPath - 1);
    programPath[length > 0 ? length : 0] = '\0';
    // The first walk fills the unwinder's tables.
    _Unwind_Backtrace(ignoreFrame, nullptr);
}

CrashDump writeCrashNote(const char* path, const CrashFacts& facts) {
    NoteFile note(path);
    if (!note.isOpen())
        return CrashDump::kNotOpened;
    writeHead(note, facts);
    note.text("\nregisters:\n");
    writeRegisters(note, *facts.context);
    note.text("\nmemory map:\n");
    writeMemoryMap(note);
    // Last, and with all the rest already in the file: on a broken stack the walk may end in a
    // second fault, which ends the process at once.
    note.text("\nbacktrace (address, module, offset in the module):\n");
    note.flush();
    writeBacktrace(note, facts);
    note.text("end of note\n");
    return note.flush() ? CrashDump::kWritten : CrashDump::kNotWritten;
}

}  // namespace platform
