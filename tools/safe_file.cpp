// Output files written beside their target and renamed over it, with the temporary file
// removed on every failure and on the signals that end a command-line run.
#include "safe_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <vector>

#include "output.hpp"

namespace rcctool {

namespace {

/// Symbolic links followed before giving up, as the kernel's own limit for path lookup.
constexpr int kMaxLinks = 40;
/// Longest temporary path the signal handler can hold (with its terminating NUL).
constexpr std::size_t kMaxTemporaryPath = 4096;
/// Permission bits of a file: read, write and execute for owner, group and others.
constexpr mode_t kPermissionBits = 0777;
/// Permissions a new file asks for before the umask takes its share.
constexpr mode_t kNewFileMode = 0666;
/// Any write permission bit, for owner, group or others.
constexpr mode_t kAnyWriteBit = 0222;

constexpr int kCleanupSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr std::size_t kSignalCount = sizeof kCleanupSignals / sizeof kCleanupSignals[0];

// What the signal handler may touch: a fixed buffer and a flag, never a std::string.
char gTemporary[kMaxTemporaryPath];
volatile std::sig_atomic_t gRegistered = 0;
struct sigaction gPrevious[kSignalCount];

std::string reason() { return std::strerror(errno); }

// Removes the registered temporary file, then lets the signal do what it did before
// (by default, end the process). Only async-signal-safe calls: unlink, sigaction, raise.
extern "C" void removeTemporaryAndReraise(int signal) {
    if (gRegistered != 0) ::unlink(gTemporary);
    for (std::size_t i = 0; i < kSignalCount; ++i) {
        if (kCleanupSignals[i] == signal) ::sigaction(signal, &gPrevious[i], nullptr);
    }
    ::raise(signal);  // blocked until the handler returns, then handled as before
}

/// Blocks the cleanup signals for its lifetime, so that a temporary file is never created
/// without being registered for removal.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t set;
        sigemptyset(&set);
        for (int s : kCleanupSignals) sigaddset(&set, s);
        ::sigprocmask(SIG_BLOCK, &set, &previous_);
    }
    ~SignalsBlocked() { ::sigprocmask(SIG_SETMASK, &previous_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t previous_;
};

/// A temporary file registered with the signal handler; removed on destruction unless
/// committed. One at a time: rcc writes one output file at a time.
class Temporary {
public:
    Temporary(const std::string& target, mode_t mode) {
        std::vector<char> name(target.begin(), target.end());
        const std::string suffix = ".tmp-XXXXXX";
        name.insert(name.end(), suffix.begin(), suffix.end());
        name.push_back('\0');
        if (name.size() > kMaxTemporaryPath) {
            throw OutputError(target + ": the path is too long");
        }
        const SignalsBlocked blocked;
        const int fd = ::mkstemp(name.data());
        if (fd < 0) throw OutputError("cannot create a file beside " + target + ": " + reason());
        path_ = name.data();
        // mkstemp creates the file 0600; give it the permissions the output should have.
        const bool modeSet = ::fchmod(fd, mode) == 0;
        const std::string modeError = modeSet ? "" : reason();
        ::close(fd);
        std::memcpy(gTemporary, name.data(), name.size());
        gRegistered = 1;
        struct sigaction action {};
        action.sa_handler = removeTemporaryAndReraise;
        sigemptyset(&action.sa_mask);
        for (std::size_t i = 0; i < kSignalCount; ++i) {
            ::sigaction(kCleanupSignals[i], nullptr, &gPrevious[i]);
            // A signal the caller ignores (nohup) stays ignored.
            if (gPrevious[i].sa_handler != SIG_IGN) {
                ::sigaction(kCleanupSignals[i], &action, nullptr);
            }
        }
        if (!modeSet) {
            remove();
            throw OutputError("cannot set the permissions of a file beside " + target + ": " +
                              modeError);
        }
    }
    ~Temporary() {
        if (!committed_) remove();
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    const std::string& path() const { return path_; }

    /// Flushes the file to the disk and renames it to `target`.
    void commit(const std::string& target) {
        const int fd = ::open(path_.c_str(), O_WRONLY);
        if (fd < 0 || ::fsync(fd) != 0) {
            const std::string why = reason();
            if (fd >= 0) ::close(fd);
            throw OutputError("cannot write " + target + ": " + why);
        }
        ::close(fd);
        if (std::rename(path_.c_str(), target.c_str()) != 0) {
            throw OutputError("cannot write " + target + ": " + reason());
        }
        committed_ = true;
        unregister();
    }

private:
    void remove() {
        ::unlink(path_.c_str());
        unregister();
    }
    void unregister() {
        const SignalsBlocked blocked;
        gRegistered = 0;
        for (std::size_t i = 0; i < kSignalCount; ++i) {
            ::sigaction(kCleanupSignals[i], &gPrevious[i], nullptr);
        }
    }

    std::string path_;
    bool committed_ = false;
};

/// Refuses anything but a regular file that may be written; `shown` names it.
void checkReplaceable(const std::string& shown, const struct stat& st) {
    const mode_t kind = st.st_mode & S_IFMT;
    const char* what = nullptr;
    if (kind == S_IFDIR) what = "is a directory; give the output a file name";
    if (kind == S_IFIFO)
        what = "is a FIFO; rcc writes only regular files (-o - for standard output)";
    if (kind == S_IFCHR || kind == S_IFBLK) what = "is a device; rcc writes only regular files";
    if (kind == S_IFSOCK) what = "is a socket; rcc writes only regular files";
    if (what != nullptr) throw OutputError(shown + ": " + what);
    if (kind != S_IFREG) throw OutputError(shown + ": is not a regular file");
    if ((st.st_mode & kAnyWriteBit) == 0 || ::access(shown.c_str(), W_OK) != 0) {
        throw OutputError(shown + ": is read-only; rcc does not replace it");
    }
}

/// The directory part of a path, with its trailing slash ("" for a bare name).
std::string directoryOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

mode_t newFileMode() {
    const mode_t mask = ::umask(0);  // the only way to read the umask is to set it
    ::umask(mask);
    return kNewFileMode & ~mask;
}

}  // namespace

std::string outputTarget(const std::string& path) {
    std::string current = path;
    for (int links = 0;; ++links) {
        struct stat st {};
        if (::lstat(current.c_str(), &st) != 0) {
            if (errno == ENOENT) return current;  // a new name (or a link to one)
            throw OutputError(current + ": " + reason());
        }
        if (!S_ISLNK(st.st_mode)) {
            checkReplaceable(current, st);
            return current;
        }
        if (links == kMaxLinks) throw OutputError(path + ": too many levels of symbolic links");
        std::vector<char> buffer(static_cast<std::size_t>(st.st_size) + 1);
        const ssize_t length = ::readlink(current.c_str(), buffer.data(), buffer.size());
        if (length <= 0 || static_cast<std::size_t>(length) >= buffer.size()) {
            throw OutputError(current + ": cannot read the symbolic link");
        }
        const std::string link(buffer.data(), static_cast<std::size_t>(length));
        // A relative link is relative to the directory holding it.
        current = link.front() == '/' ? link : directoryOf(current) + link;
    }
}

void writeFileSafely(const std::string& path,
                     const std::function<void(const std::string&)>& produce) {
    const std::string target = outputTarget(path);
    struct stat st {};
    const bool exists = ::stat(target.c_str(), &st) == 0;
    Temporary temporary(target, exists ? (st.st_mode & kPermissionBits) : newFileMode());
    produce(temporary.path());
    // Whatever came to stand at the target meanwhile must still be replaceable.
    if (::lstat(target.c_str(), &st) == 0) checkReplaceable(target, st);
    temporary.commit(target);
}

}  // namespace rcctool
