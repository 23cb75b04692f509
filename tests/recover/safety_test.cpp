// Nothing may be lost: originals, if the tool is killed, storage is full or a call fails, and files
// in use.
#include "fault/planned.h"
#include "recordings.h"
#include "support/storage.h"
#include "tool.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

constexpr std::size_t HEADER_BYTES = 48;

std::string whole_data() {
    return without_index(all_recordings().whole, all_recordings().data_end);
}

// True if the media data of a recording exist, whatever surrounds them.
bool holds_data_of(const std::string& file, const std::string& original) {
    return file.size() >= original.size() &&
           file.compare(HEADER_BYTES, original.size() - HEADER_BYTES, original, HEADER_BYTES) == 0;
}

bool plays(const fs::path& file) {
    return run({"/usr/bin/ffprobe", "-v", "error", file}).status == 0;
}

// --- Kills -----------------------------------------------------------------------------------

// Runs the tool on the folder and kills it after that time unless it has ended.
void recover_and_kill(const fs::path& folder, std::chrono::microseconds after) {
    const temp_folder output;
    const pid_t tool =
        spawn({VTRDC_RECOVER, folder}, environment_with({}), output.path() / "output");
    usleep(static_cast<useconds_t>(after.count()));
    kill(tool, SIGKILL);
    EXPECT_THAT(wait_for_exit(tool, WAIT_LIMIT), AnyOf(0, 128 + SIGKILL));
}

std::chrono::microseconds time_to_recover(const fs::path& folder) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(recover({folder}).status, 0);
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                                 start);
}

// Kills it repeatedly in the same folder. A recovered recording is replaced by the damaged one.
void kill_at_random_moments(const fs::path& folder, const std::string& original) {
    const fs::path file = folder / NAME;
    const auto put_original = [&] { std::ofstream{file, std::ios::binary} << original; };
    put_original();
    const auto longest = time_to_recover(folder);
    put_original();
    std::mt19937 random{7};
    for (int i = 0; i < test_extent().kills; ++i) {
        const auto moment = longest * (random() % 1000) / 1000;
        SCOPED_TRACE(std::to_string(i) + ": after " + std::to_string(moment.count()) + " us");
        recover_and_kill(folder, moment);
        EXPECT_TRUE(holds_data_of(read_text(file), original));
        if (plays(file)) {
            put_original();
        }
    }
    EXPECT_EQ(recover({folder}).status, 0);
    EXPECT_EQ(complaints(file), "");
    EXPECT_TRUE(holds_data_of(read_text(file), original));
    EXPECT_EQ(files_in(folder).size(), 1U); // no unfinished copy
}

TEST(SafetyTest, KillsLoseNothing) {
    const temp_folder folder;
    kill_at_random_moments(folder.path(), whole_data());
}

TEST(SafetyTest, CopyOfAKilledRunIsRemoved) {
    const temp_folder folder;
    const std::string copy = std::string{"."} + NAME + ".recovering";
    folder.write(copy, "half a copy");
    folder.write(".other.mp4.recovering", "half a copy");
    folder.write(".mine", "not a copy");
    EXPECT_EQ(recover({"--dry-run", folder.path()}).status, 0);
    EXPECT_EQ(files_in(folder.path()).size(), 3U);
    EXPECT_EQ(recover({folder.path()}).status, 0);
    EXPECT_EQ(files_in(folder.path()).size(), 1U);

    folder.write(copy, "half a copy");
    folder.write(NAME, whole_data());
    EXPECT_EQ(recover({folder.path() / NAME}).status, 0);
    EXPECT_EQ(files_in(folder.path()).size(), 2U);
}

// --- Full storage ----------------------------------------------------------------------------

// A file system with that much space beside the recording.
class SmallStorageTest : public testing::Test {
protected:
    void SetUp() override {
        if (!storage_.is_mounted()) {
            GTEST_SKIP() << "a small file system can't be mounted here";
        }
        std::ofstream{file_, std::ios::binary} << original_;
    }

    // Fills it, leaving that many bytes.
    void leave_room(std::uintmax_t bytes) const {
        const std::uintmax_t room = fs::space(folder_.path()).available;
        ASSERT_GT(room, bytes);
        std::ofstream{folder_.path() / "other", std::ios::binary} << std::string(room - bytes, 'x');
    }

    temp_folder folder_;
    small_storage storage_{folder_.path(), "64m"};
    fs::path file_ = folder_.path() / NAME;
    std::string original_ = whole_data();
};

TEST_F(SmallStorageTest, WithoutSpaceForACopyItIsRepairedInPlace) {
    leave_room(256 * 1024);
    const outcome result = recover({folder_.path()});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("(in place, no space for a copy)"));
    EXPECT_EQ(complaints(file_), "");
    EXPECT_EQ(picture_numbers(file_), all_recordings().numbers);
    EXPECT_THAT(recover({file_}).output, EndsWith(": complete\n"));
}

TEST_F(SmallStorageTest, WithoutAnySpaceItStaysUnchanged) {
    leave_room(0);
    const outcome result = recover({folder_.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr(": failed (writing: No space left on device)\n"));
    EXPECT_EQ(read_text(file_), original_);
    fs::remove(folder_.path() / "other");
    EXPECT_EQ(recover({folder_.path()}).status, 0);
    EXPECT_TRUE(plays(file_));
}

TEST_F(SmallStorageTest, KillsLoseNothingInPlaceEither) {
    kill_at_random_moments(folder_.path(), original_);
}

// --- Failing calls ---------------------------------------------------------------------------

constexpr std::array failing_calls_tried{
    failing_call::fsync,  failing_call::open,     failing_call::openat,    failing_call::pread,
    failing_call::pwrite, failing_call::renameat, failing_call::ftruncate, failing_call::stat};

// Makes one call of the tool fail in each run: all calls with --all, otherwise a sample. Puts the
// damaged recording back whenever it was recovered.
void fail_each_call(const fs::path& folder, const std::string& original) {
    const temp_folder elsewhere;
    const fs::path file = folder / NAME;
    const fs::path plan_file = elsewhere.path() / "plan";
    fault_plan* const plan = map_plan(plan_file);
    const std::size_t files = files_in(folder).size();
    int failures = 0;
    for (const failing_call call : failing_calls_tried) {
        bool has_failed = true;
        for (int number = 1; has_failed; number += test_extent().call_step(number)) {
            SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", number " +
                         std::to_string(number));
            plan_failure(*plan, call, number, EIO);
            const outcome result = run({VTRDC_RECOVER, folder}, failing_environment(plan_file));
            has_failed = plan->failed_from != 0;
            failures += has_failed ? 1 : 0;
            EXPECT_THAT(result.status, AnyOf(0, 1)) << result.output;
            EXPECT_TRUE(holds_data_of(read_text(file), original));
            EXPECT_EQ(files_in(folder).size(), files);
            EXPECT_TRUE(result.status == 1 || plays(file)) << result.output;
            if (plays(file)) {
                std::ofstream{file, std::ios::binary} << original;
            }
        }
    }
    munmap(plan, sizeof *plan);
    EXPECT_GT(failures, 20);
    EXPECT_EQ(recover({folder}).status, 0);
    EXPECT_EQ(complaints(file), "");
}

TEST(SafetyTest, CallsThatFailLoseNothing) {
    const temp_folder folder;
    folder.write(NAME, whole_data());
    fail_each_call(folder.path(), whole_data());
}

TEST_F(SmallStorageTest, CallsThatFailLoseNothingInPlaceEither) {
    leave_room(256 * 1024);
    fail_each_call(folder_.path(), original_);
}

// --- Untouched files -------------------------------------------------------------------------

TEST(SafetyTest, FileInUseIsLeftAlone) {
    const temp_folder folder;
    const std::string file = folder.write(NAME, whole_data());
    const int user = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(user, 0);
    const outcome result = recover({folder.path()});
    close(user);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr(": in use (by process " + std::to_string(getpid()) +
                                         " (recover_test), "));
    EXPECT_EQ(read_text(file), whole_data());
    EXPECT_EQ(recover({folder.path()}).status, 0);
    EXPECT_TRUE(plays(file));
}

TEST(SafetyTest, OtherFilesAreLeftAlone) {
    const temp_folder folder;
    folder.write("notes.txt", whole_data());
    folder.write("folder.mp4/" + std::string{NAME}, whole_data());
    fs::create_symlink("notes.txt", folder.path() / "link.mp4");
    folder.write("nothing.mp4", "");
    folder.write("other.mp4", std::string(4, '\0') + "not a recording" + std::string(100, 'x'));
    folder.write(NAME, all_recordings().whole);
    const outcome result = recover({"--json", folder.path()});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr(R"(nothing.mp4","state":"empty"})"));
    EXPECT_THAT(result.output, HasSubstr(R"(other.mp4","state":"foreign")"));
    EXPECT_THAT(result.output, HasSubstr(std::string{NAME} + R"(","state":"complete"})"));
    EXPECT_EQ(read_text(folder.path() / "notes.txt"), whole_data());
    EXPECT_EQ(read_text(folder.path() / "folder.mp4" / NAME), whole_data());
}

TEST(SafetyTest, OwnerRightsAndTimeAreKept) {
    const temp_folder folder;
    const std::string file = folder.write(NAME, whole_data());
    fs::permissions(file, fs::perms::owner_read | fs::perms::group_read);
    const auto time = fs::last_write_time(file) - std::chrono::hours{5};
    fs::last_write_time(file, time);
    EXPECT_EQ(recover({file}).status, 0);
    EXPECT_TRUE(plays(file));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::group_read);
    EXPECT_EQ(fs::last_write_time(file), time);
}

// --- Command line ----------------------------------------------------------------------------

TEST(SafetyTest, DryRunReportsTheSameAndChangesNothing) {
    const temp_folder folder;
    const std::string file = folder.write(NAME, whole_data());
    const outcome result = recover({"-n", "-j", folder.path()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(read_text(file), whole_data());
    auto would = nlohmann::json::parse(result.output);
    auto did = nlohmann::json::parse(recover({"-j", folder.path()}).output);
    EXPECT_EQ(would["state"], "recoverable");
    EXPECT_EQ(did["state"], "recovered");
    EXPECT_EQ(did["pictures"], all_recordings().numbers.size());
    would.erase("state");
    did.erase("state");
    EXPECT_EQ(would, did);
}

TEST(SafetyTest, ExitStatusShowsTheResult) {
    const temp_folder folder;
    const std::string nowhere = folder.path() / "nowhere";
    EXPECT_EQ(recover({"--bogus"}).status, 2);
    EXPECT_EQ(recover({nowhere}).status, 1);
    EXPECT_EQ(recover({folder.path()}).status, 0);
    EXPECT_THAT(recover({"--help"}).output, HasSubstr("--dry-run"));
    // The default folder is the board's; if it is missing, there is nothing to do.
    const std::vector<std::string> board{"VTRDC_SYSROOT=" + folder.path().string()};
    outcome result = run({VTRDC_RECOVER}, board);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, IsEmpty());
    folder.write("media/video/" + std::string{NAME}, whole_data());
    result = run({VTRDC_RECOVER}, board);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, StartsWith(folder.path() / "media/video" / NAME));
}

} // namespace
