// Tests of the output files: what stood at the path is replaced only when it is a writable
// regular file, links are written through, and no temporary file outlives a failure.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "output.hpp"
#include "safe_file.hpp"

namespace {

namespace fs = std::filesystem;
using rcctool::writeFileSafely;

void put(const std::string& path, const std::string& text) { std::ofstream(path) << text; }
std::string content(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}
mode_t modeOf(const std::string& path) {
    struct stat st {};
    ::stat(path.c_str(), &st);
    return st.st_mode & 0777;
}
void write(const std::string& path, const std::string& text) {
    writeFileSafely(path, [&text](const std::string& temporary) { put(temporary, text); });
}

class SafeFile : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/rcc-safe-file-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        dir_ = pattern;
        oldMask_ = ::umask(022);
    }
    void TearDown() override {
        ::umask(oldMask_);
        fs::remove_all(dir_);
    }
    std::string at(const std::string& name) const { return dir_ + "/" + name; }
    bool noStrays() const {
        for (const auto& entry : fs::directory_iterator(dir_)) {
            if (entry.path().filename().string().find(".tmp-") != std::string::npos) return false;
        }
        return true;
    }

    std::string dir_;
    mode_t oldMask_ = 0;
};

TEST_F(SafeFile, ReplacesTheFileThePathLeadsTo) {
    put(at("kept.csv"), "old");
    ::chmod(at("kept.csv").c_str(), 0640);
    write(at("kept.csv"), "new");
    EXPECT_EQ(content(at("kept.csv")), "new");
    EXPECT_EQ(modeOf(at("kept.csv")), 0640u);  // the replaced file's permissions
    ::umask(027);
    write(at("fresh.csv"), "new");
    EXPECT_EQ(modeOf(at("fresh.csv")), 0640u);  // 0666 less the umask, not mkstemp's 0600

    put(at("real.csv"), "old");
    fs::create_symlink("real.csv", at("link.csv"));  // relative to the link's directory
    write(at("link.csv"), "through");
    EXPECT_TRUE(fs::is_symlink(at("link.csv")));
    EXPECT_EQ(content(at("real.csv")), "through");
    fs::create_symlink("made.csv", at("dangling.csv"));
    write(at("dangling.csv"), "made");
    EXPECT_EQ(content(at("made.csv")), "made");

    // The path's file is replaced; another hard link keeps the old file and its content.
    put(at("a.csv"), "old");
    fs::create_hard_link(at("a.csv"), at("b.csv"));
    write(at("a.csv"), "new");
    EXPECT_EQ(content(at("a.csv")) + content(at("b.csv")), "newold");

    EXPECT_TRUE(noStrays());
    struct sigaction action {};
    ::sigaction(SIGTERM, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);  // the handler is gone once the file is written
}

TEST_F(SafeFile, RefusesWhatIsNotAWritableRegularFile) {
    fs::create_directory(at("dir"));
    ASSERT_EQ(::mkfifo(at("fifo").c_str(), 0644), 0);
    put(at("readonly.csv"), "old");
    ::chmod(at("readonly.csv").c_str(), 0444);
    fs::create_symlink("loop2", at("loop1"));
    fs::create_symlink("loop1", at("loop2"));
    // A device node only where it harms nothing: one made in the test's own directory as
    // root, otherwise a link to /dev/null (which no one but root could replace anyway).
    if (::geteuid() == 0) {
        ASSERT_EQ(::mknod(at("device").c_str(), S_IFCHR | 0666, makedev(1, 3)), 0);
    } else {
        fs::create_symlink("/dev/null", at("device"));
    }
    const struct {
        const char* name;
        const char* message;
    } cases[] = {
        {"dir", ": is a directory"},
        {"fifo", ": is a FIFO"},
        {"readonly.csv", ": is read-only"},
        {"device", ": is a device"},
        {"loop1", "too many levels of symbolic links"},
    };
    for (const auto& c : cases) {
        bool produced = false;
        try {
            writeFileSafely(at(c.name), [&produced](const std::string&) { produced = true; });
            ADD_FAILURE() << c.name << " was replaced";
        } catch (const rcctool::OutputError& e) {
            EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
        }
        EXPECT_FALSE(produced) << c.name;
    }
    EXPECT_TRUE(fs::is_fifo(at("fifo")));
    EXPECT_EQ(content(at("readonly.csv")), "old");
    EXPECT_TRUE(noStrays());
}

TEST_F(SafeFile, LeavesNothingBehindOnFailureOrSignal) {
    put(at("out.csv"), "old");
    const auto halfThen = [](auto fail) {
        return [fail](const std::string& temporary) {
            put(temporary, "half");
            fail();
        };
    };
    EXPECT_THROW(writeFileSafely(at("out.csv"), halfThen([] { throw std::runtime_error("full"); })),
                 std::runtime_error);
    EXPECT_EQ(content(at("out.csv")), "old");
    EXPECT_THROW(write(at("no-such-dir/out.csv"), "x"), rcctool::OutputError);
    for (int signal : {SIGINT, SIGTERM}) {
        EXPECT_EXIT(writeFileSafely(at("new.csv"), halfThen([signal] { ::raise(signal); })),
                    ::testing::KilledBySignal(signal), "");
    }
    EXPECT_FALSE(fs::exists(at("new.csv")));
    EXPECT_TRUE(noStrays());
}

}  // namespace
