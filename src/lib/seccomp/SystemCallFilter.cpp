#include "lib/seccomp/SystemCallFilter.h"

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <type_traits>

namespace korvane {

namespace {

/** The one socket: the agent's. */
constexpr scmp_datum_t agentSocket = 3;

/** Libraries fall back to older calls. */
constexpr std::uint32_t missing = SCMP_ACT_ERRNO(ENOSYS);
constexpr std::uint32_t denied = SCMP_ACT_ERRNO(EPERM);
/** Nothing that reads documents does this: the process is compromised. */
constexpr std::uint32_t hostile = SCMP_ACT_KILL_PROCESS;

/** libseccomp skips those that the processor architecture lacks. */
constexpr int allowed[] = {
    // Open files, and the status of others.
    SCMP_SYS(read), SCMP_SYS(readv), SCMP_SYS(pread64), SCMP_SYS(preadv), SCMP_SYS(write),
    SCMP_SYS(writev), SCMP_SYS(pwrite64), SCMP_SYS(pwritev), SCMP_SYS(lseek), SCMP_SYS(close),
    SCMP_SYS(dup), SCMP_SYS(ftruncate), SCMP_SYS(fallocate), SCMP_SYS(fsync), SCMP_SYS(fdatasync),
    SCMP_SYS(sync_file_range), SCMP_SYS(fadvise64), SCMP_SYS(readahead), SCMP_SYS(fstat),
    SCMP_SYS(newfstatat), SCMP_SYS(stat), SCMP_SYS(lstat), SCMP_SYS(statx), SCMP_SYS(statfs),
    SCMP_SYS(fstatfs), SCMP_SYS(access), SCMP_SYS(faccessat), SCMP_SYS(faccessat2),
    SCMP_SYS(readlink), SCMP_SYS(readlinkat), SCMP_SYS(getdents64), SCMP_SYS(getcwd),
    SCMP_SYS(poll), SCMP_SYS(ppoll),
    // Memory.
    SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise),
    // The process's own threads and signals.
    SCMP_SYS(futex), SCMP_SYS(set_robust_list), SCMP_SYS(rseq), SCMP_SYS(set_tid_address),
    SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity), SCMP_SYS(gettid), SCMP_SYS(getpid),
    SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(sigaltstack),
    SCMP_SYS(restart_syscall), SCMP_SYS(exit), SCMP_SYS(exit_group),
    // Time, random numbers, and what the process is and runs on.
    SCMP_SYS(nanosleep), SCMP_SYS(clock_nanosleep), SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres),
    SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(times), SCMP_SYS(getrusage),
    SCMP_SYS(getrlimit), SCMP_SYS(sysinfo), SCMP_SYS(uname), SCMP_SYS(getrandom), SCMP_SYS(getuid),
    SCMP_SYS(geteuid), SCMP_SYS(getgid), SCMP_SYS(getegid)};

constexpr int killing[] = {
    // Programs and other processes.
    SCMP_SYS(execve), SCMP_SYS(execveat), SCMP_SYS(fork), SCMP_SYS(vfork), SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv), SCMP_SYS(process_vm_writev),
    // Connections.
    SCMP_SYS(connect), SCMP_SYS(bind), SCMP_SYS(listen), SCMP_SYS(accept), SCMP_SYS(accept4),
    // The file system, namespaces and the kernel.
    SCMP_SYS(mount), SCMP_SYS(umount2), SCMP_SYS(pivot_root), SCMP_SYS(chroot), SCMP_SYS(setns),
    SCMP_SYS(unshare), SCMP_SYS(bpf), SCMP_SYS(init_module), SCMP_SYS(finit_module),
    SCMP_SYS(kexec_load), SCMP_SYS(io_uring_setup), SCMP_SYS(userfaultfd),
    SCMP_SYS(perf_event_open)};

/** The flags that make open(2) more than reading. */
constexpr scmp_datum_t writing = O_ACCMODE | O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY);

constexpr int harmlessFcntl[] = {F_DUPFD, F_DUPFD_CLOEXEC, F_GETFD, F_SETFD,    F_GETFL,
                                 F_SETFL, F_GETLK,         F_SETLK, F_GET_SEALS};

/** Matches an argument whose bits under `mask` are `value`. */
scmp_arg_cmp bits(unsigned argument, scmp_datum_t mask, scmp_datum_t value)
{
    return {.arg = argument, .op = SCMP_CMP_MASKED_EQ, .datum_a = mask, .datum_b = value};
}

/** Matches an argument of 32 bits: the upper half of the register is undefined. */
scmp_arg_cmp is(unsigned argument, scmp_datum_t value)
{
    return bits(argument, UINT32_MAX, value & UINT32_MAX);
}

class Filter {
public:
    Filter() : context_(seccomp_init(missing)), failed_(context_ ? 0 : -ENOMEM) {}

    void attribute(scmp_filter_attr name, std::uint32_t value)
    {
        if (failed_ == 0) failed_ = seccomp_attr_set(context_.get(), name, value);
    }

    void rule(std::uint32_t action, int call, std::initializer_list<scmp_arg_cmp> when = {})
    {
        if (failed_ != 0) return;
        failed_ = seccomp_rule_add_array(context_.get(), action, call,
                                         static_cast<unsigned>(when.size()), when.begin());
    }

    Result<void, SystemError> load()
    {
        if (failed_ == 0) failed_ = seccomp_load(context_.get());
        if (failed_ != 0) return failure(SystemError{-failed_});
        return {};
    }

private:
    struct Release {
        void operator()(scmp_filter_ctx context) const { seccomp_release(context); }
    };

    std::unique_ptr<std::remove_pointer_t<scmp_filter_ctx>, Release> context_;
    int failed_;
};

/** A filter cannot see paths: see Landlock.h. */
void addFileRules(Filter& filter)
{
    struct Open {
        int call;
        unsigned flags;
    };
    for (const auto& [call, flags] : {Open{SCMP_SYS(open), 1}, Open{SCMP_SYS(openat), 2}}) {
        filter.rule(SCMP_ACT_ALLOW, call, {bits(flags, writing, O_RDONLY)});
        filter.rule(denied, call, {bits(flags, O_ACCMODE, O_WRONLY)});
        filter.rule(denied, call, {bits(flags, O_ACCMODE, O_RDWR)});
        filter.rule(denied, call, {bits(flags, O_CREAT, O_CREAT)});
    }
    for (const int command : harmlessFcntl)
        filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(fcntl), {is(1, static_cast<scmp_datum_t>(command))});
    // isatty(3)
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(ioctl), {is(1, TCGETS)});
}

/** No memory becomes executable, not even that of a file: the process can write to some files.
 *  RLIMIT_DATA does not count anonymous shared memory. */
void addMemoryRules(Filter& filter)
{
    constexpr unsigned protection = 2;
    constexpr unsigned flags = 3;
    const int map = SCMP_SYS(mmap);
    filter.rule(SCMP_ACT_ALLOW, map,
                {bits(protection, PROT_EXEC, 0), bits(flags, MAP_ANONYMOUS, 0)});
    filter.rule(SCMP_ACT_ALLOW, map,
                {bits(protection, PROT_EXEC, 0), bits(flags, MAP_TYPE, MAP_PRIVATE)});
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(mprotect), {bits(protection, PROT_EXEC, 0)});
}

void addProcessRules(Filter& filter)
{
    // Threads, but no processes. A filter cannot see the arguments of clone3.
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(clone), {bits(0, CLONE_THREAD, CLONE_THREAD)});
    filter.rule(hostile, SCMP_SYS(clone), {bits(0, CLONE_THREAD, 0)});
    // abort(3)
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(tgkill), {is(0, static_cast<scmp_datum_t>(::getpid()))});
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(prctl), {is(0, PR_SET_NAME)});
    // Reading limits, not changing them.
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(prlimit64), {bits(2, UINT64_MAX, 0)});
}

void addSocketRules(Filter& filter)
{
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(recvmsg), {is(0, agentSocket)});
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(sendmsg), {is(0, agentSocket)});
    // The C library looks for name services over one; it works without.
    filter.rule(denied, SCMP_SYS(socket));
    filter.rule(denied, SCMP_SYS(socketpair));
}

} // namespace

Result<void, SystemError> filterSystemCalls()
{
    Filter filter;
    filter.attribute(SCMP_FLTATR_ACT_BADARCH, hostile);
    filter.attribute(SCMP_FLTATR_CTL_TSYNC, 1);
    for (const int call : allowed) filter.rule(SCMP_ACT_ALLOW, call);
    for (const int call : killing) filter.rule(hostile, call);
    addFileRules(filter);
    addMemoryRules(filter);
    addProcessRules(filter);
    addSocketRules(filter);
    return filter.load();
}

} // namespace korvane
