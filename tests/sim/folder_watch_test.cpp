// What folder watches report: folder and file name. The overlay's scenes test more paths to a
// folder.
#include "folder_watch.h"

#include "support/temp_folder.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>

namespace fs = std::filesystem;

using testing::Contains;
using testing::IsEmpty;

namespace {

using counting = sim::folder_watch::counting;
using told_changes = std::set<std::pair<fs::path, std::string>>;

class FolderWatch : public testing::Test {
protected:
    static told_changes told(sim::folder_watch& watch) {
        told_changes all;
        for (const auto& [folder, name] : watch.changes()) {
            all.emplace(folder, name);
        }
        return all;
    }

    [[nodiscard]] fs::path at(const char* name) const { return folder_.path() / name; }

    temp_folder folder_;
};

TEST_F(FolderWatch, ReportsFolderAndName) {
    folder_.write("board/one/a", "");
    folder_.write("board/two/a", "");
    fs::create_directory_symlink("two", at("board/link"));
    sim::folder_watch watch{at("board/one"), {at("board/link"), at("board/two")}};
    folder_.write("board/one/a", "1");
    EXPECT_EQ(told(watch), (told_changes{{at("board/one"), "a"}}));
    folder_.write("board/two/b", "1");
    EXPECT_EQ(told(watch), (told_changes{{at("board/link"), "b"}, {at("board/two"), "b"}}));
    folder_.write("board/three", "1");
    EXPECT_THAT(told(watch), IsEmpty()) << "a folder that is only on the way";
}

struct counting_case {
    counting what;
    bool counts_beginning;
    bool counts_writing;
    bool counts_touch;
    bool counts_hidden;
};

TEST_F(FolderWatch, CountsOnlyTheRequestedChanges) {
    constexpr counting_case cases[] = {
        {counting::whole_files, false, false, false, false},
        {counting::every_write, true, true, false, true},
        {counting::every_touch, true, true, true, true},
    };
    for (const counting_case& each : cases) {
        SCOPED_TRACE(static_cast<int>(each.what));
        const temp_folder folder;
        const fs::path path = folder.path() / "file";
        sim::folder_watch watch{each.what};
        watch.add(folder.path());
        std::ofstream file(path);
        EXPECT_EQ(watch.changed(), each.counts_beginning);
        file << "part" << std::flush;
        EXPECT_EQ(watch.changed(), each.counts_writing);
        file.close();
        EXPECT_TRUE(watch.changed());
        fs::permissions(path, fs::perms::owner_read);
        EXPECT_EQ(watch.changed(), each.counts_touch);
        folder.write(".hidden", "");
        EXPECT_EQ(watch.changed(), each.counts_hidden);
    }
}

TEST_F(FolderWatch, FollowsAFolderWhoseParentIsReplaced) {
    folder_.write("media/video/one", "");
    sim::folder_watch watch{counting::every_write};
    watch.add(at("media/video"));
    watch.add(at("media/image")); // missing
    fs::rename(at("media"), at("media.away"));
    folder_.write("media/video/two", "");
    EXPECT_EQ(told(watch), (told_changes{{at("media/video"), ""}, {at("media/image"), ""}}));
    folder_.write("media.away/video/one", "1");
    EXPECT_THAT(told(watch), IsEmpty()) << "it is another folder now";
    folder_.write("media/video/two", "1");
    EXPECT_EQ(told(watch), (told_changes{{at("media/video"), "two"}}));
    fs::create_directory(at("media/image"));
    EXPECT_EQ(told(watch), (told_changes{{at("media/image"), ""}}));
    folder_.write("media/image/three", "");
    EXPECT_EQ(told(watch), (told_changes{{at("media/image"), "three"}}));
}

TEST_F(FolderWatch, RereadsEverythingWhenEventsAreLost) {
    folder_.write("one/a", "");
    sim::folder_watch watch{at("one"), {at("late/two")}};
    int kept = 0;
    std::ifstream{"/proc/sys/fs/inotify/max_queued_events"} >> kept;
    ASSERT_GT(kept, 0);
    for (int i = 0; i <= kept / 4; ++i) { // two events for each renaming
        fs::rename(at("one/a"), at("one/b"));
        fs::rename(at("one/b"), at("one/a"));
    }
    folder_.write("late/two/c", ""); // event is lost
    EXPECT_THAT(told(watch), Contains(std::pair{at("late/two"), std::string{}}));
    folder_.write("late/two/c", "1");
    EXPECT_EQ(told(watch), (told_changes{{at("late/two"), "c"}}));
}

} // namespace
