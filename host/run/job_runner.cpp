#include "run/job_runner.h"

#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "job/instance_files.h"
#include "run/instance_driver.h"
#include "shared/checkpoint_store.h"
#include "shared/global_variables.h"

namespace buhost {
namespace {

// Pipes between the parent and one instance: "up" says phase 1 is done (or,
// at end of file, that the instance is gone); "down" lets phase 2 begin.
struct InstancePipes {
    int up[2] = {-1, -1};
    int down[2] = {-1, -1};
};

class SharedSlots {
  public:
    explicit SharedSlots(int n) : n_(static_cast<size_t>(n)) {
        void* p = mmap(nullptr, bytes(), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) throw std::bad_alloc();
        slots_ = static_cast<InstanceSlot*>(p);
        for (size_t i = 0; i < n_; ++i) new (&slots_[i]) InstanceSlot();
    }
    ~SharedSlots() { munmap(slots_, bytes()); }
    SharedSlots(const SharedSlots&) = delete;
    SharedSlots& operator=(const SharedSlots&) = delete;
    InstanceSlot& operator[](int k) { return slots_[k]; }

  private:
    size_t bytes() const { return n_ * sizeof(InstanceSlot); }
    size_t n_;
    InstanceSlot* slots_;
};

void closeFd(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

// Starts instance `index` (from 0) on a core of its own, the next of those
// the job may use, then lets it go anywhere again. Forked instances start
// where their parent runs; on a busy machine the kernel can leave two of them
// sharing that core for tens of milliseconds while another core runs other
// work, which is most of what a second instance would gain on a short job.
// Only where an instance starts is chosen: it is not bound there.
void startOnOwnCore(const cpu_set_t& allowed, int index) {
    const int cores = CPU_COUNT(&allowed);
    if (cores < 2) return;
    int nth = index % cores;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (!CPU_ISSET(cpu, &allowed) || nth-- > 0) continue;
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(cpu, &one);
        if (::sched_setaffinity(0, sizeof one, &one) == 0)
            ::sched_setaffinity(0, sizeof allowed, &allowed);
        return;
    }
}

[[noreturn]] void runChild(const JobDefinition& job, const InstanceOptions& opts,
                           GlobalVariables& globals, InstanceSlot& slot, InstancePipes& own) {
    auto barrier = [&] {
        char done = '1';
        while (::write(own.up[1], &done, 1) < 0 && errno == EINTR) {
        }
        char go = 0;
        while (::read(own.down[0], &go, 1) < 0 && errno == EINTR) {
        }
    };
    int code = driveInstance(job, opts, globals, slot, barrier);
    std::fflush(nullptr);
#if defined(__SANITIZE_ADDRESS__)
    // _exit skips the leak check a sanitized process runs at its end, so an
    // instance runs it here; a leak makes the instance die by a signal,
    // which fails the job whatever the instance's exit code said.
    if (__lsan_do_recoverable_leak_check() != 0) std::abort();
#endif
#if defined(BU_COVERAGE)
    // _exit would skip the coverage data each loaded module writes at exit.
    std::exit(code);
#else
    ::_exit(code);
#endif
}

void showProgress(SharedSlots& slots, int n, std::chrono::steady_clock::time_point start) {
    uint64_t rows = 0;
    for (int k = 0; k < n; ++k) rows += slots[k].rows.load(std::memory_order_relaxed);
    double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::fprintf(stderr, "\rrows %llu  %.0f rows/s  %.1f s ", static_cast<unsigned long long>(rows),
                 secs > 0 ? static_cast<double>(rows) / secs : 0.0, secs);
}

// Waits until every instance has finished phase 1 or is gone, then lets the
// live ones start phase 2.
void phaseTwoBarrier(std::vector<InstancePipes>& pipes, SharedSlots& slots, bool progress,
                     std::chrono::steady_clock::time_point start) {
    const int n = static_cast<int>(pipes.size());
    std::vector<bool> waiting(pipes.size(), true);
    int left = n;
    while (left > 0) {
        std::vector<pollfd> fds;
        std::vector<int> who;
        for (int k = 0; k < n; ++k) {
            if (!waiting[k]) continue;
            fds.push_back({pipes[k].up[0], POLLIN, 0});
            who.push_back(k);
        }
        int ready = ::poll(fds.data(), fds.size(), progress ? 250 : -1);
        if (progress) showProgress(slots, n, start);
        if (ready <= 0) continue;
        for (size_t i = 0; i < fds.size(); ++i) {
            if (fds[i].revents == 0) continue;
            char byte;
            ssize_t got = ::read(fds[i].fd, &byte, 1);
            if (got < 0 && errno == EINTR) continue;
            waiting[who[i]] = false;  // phase 1 done, or the instance died
            --left;
        }
    }
    for (auto& p : pipes) {
        char go = 'g';
        if (::write(p.down[1], &go, 1) < 0) {
            // the instance is gone; nothing waits on this pipe
        }
        closeFd(p.down[1]);
    }
}

}  // namespace

JobReport runJob(const JobDefinition& job, const RunOptions& options) {
    const int n = options.instances > 0 ? options.instances : job.instances;
    refuseSharedOutputFile(job, n);
    if (!options.restart) {
        for (int k = 1; k <= n; ++k) CheckpointStore(job.checkpointDir, job.name, k).discard();
    }
    struct stat logStat {};
    const uint64_t logOffset = ::stat(publicLogPath(job).c_str(), &logStat) == 0
                                   ? static_cast<uint64_t>(logStat.st_size)
                                   : 0;
    ::signal(SIGPIPE, SIG_IGN);
    GlobalVariables globals;
    SharedSlots slots(n);
    std::vector<InstancePipes> pipes(static_cast<size_t>(n));
    for (auto& p : pipes) {
        if (::pipe(p.up) != 0 || ::pipe(p.down) != 0) throw JobError("cannot create pipes");
    }
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    const bool placeInstances = n > 1 && ::sched_getaffinity(0, sizeof allowed, &allowed) == 0;
    std::fflush(nullptr);
    const auto start = std::chrono::steady_clock::now();
    std::vector<pid_t> pids(static_cast<size_t>(n), -1);
    for (int k = 0; k < n; ++k) {
        pid_t pid = ::fork();
        if (pid < 0) throw JobError("cannot start instance " + std::to_string(k + 1));
        if (pid == 0) {
            for (int j = 0; j < n; ++j) {
                closeFd(pipes[j].up[0]);
                closeFd(pipes[j].down[1]);
                if (j != k) {
                    closeFd(pipes[j].up[1]);
                    closeFd(pipes[j].down[0]);
                }
            }
            if (placeInstances) startOnOwnCore(allowed, k);
            if (options.instanceOutputToStderr) ::dup2(STDERR_FILENO, STDOUT_FILENO);
            InstanceOptions opts;
            opts.instance = k + 1;
            opts.instanceCount = n;
            opts.restart = options.restart;
            auto own = options.crashAfterRowsOf.find(k + 1);
            opts.crashAfterRows =
                own != options.crashAfterRowsOf.end() ? own->second : options.crashAfterRows;
            opts.traceLevel = options.traceLevel;
            runChild(job, opts, globals, slots[k], pipes[k]);
        }
        pids[k] = pid;
    }
    for (auto& p : pipes) {
        closeFd(p.up[1]);
        closeFd(p.down[0]);
    }
    phaseTwoBarrier(pipes, slots, options.showProgress, start);

    JobReport report;
    report.job = job.name;
    report.logDir = job.logDir;
    report.publicLog = publicLogPath(job);
    report.publicLogOffset = logOffset;
    for (int k = 0; k < n; ++k) {
        int status = 0;
        while (::waitpid(pids[k], &status, 0) < 0 && errno == EINTR) {
        }
        closeFd(pipes[k].up[0]);
        InstanceReport r;
        r.instance = k + 1;
        r.rows = slots[k].rows.load();
        r.checkpoints = slots[k].checkpoints.load();
        r.maxRowSizeKB = slots[k].maxRowSizeKB;
        r.seconds = static_cast<double>(slots[k].busyNanos) / 1e9;
        r.timedRows = slots[k].timedRows;
        r.timedBytes = slots[k].timedBytes;
        r.anonKB = slots[k].anonKB;
        r.failure = slots[k].failure;
        if (WIFSIGNALED(status)) {
            r.exitCode = 12;
            r.failure = "instance process killed by signal " + std::to_string(WTERMSIG(status));
        } else if (!slots[k].finished.load()) {
            r.exitCode = 12;
            if (r.failure.empty()) r.failure = "instance process ended early";
        } else {
            r.exitCode = slots[k].exitCode.load();
        }
        report.rows += r.rows;
        report.exitCode = std::max(report.exitCode, r.exitCode);
        report.instances.push_back(std::move(r));
    }
    report.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (options.showProgress) std::fprintf(stderr, "\r\033[K");
    return report;
}

}  // namespace buhost
