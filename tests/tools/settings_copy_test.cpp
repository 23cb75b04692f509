// The service's copy of the settings, used after a power cut during a rewrite.
#include "config/cfg.h"
#include "support/process.h"
#include "support/temp_folder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>

namespace fs = std::filesystem;

using testing::HasSubstr;

namespace {

class SettingsCopy : public testing::Test {
protected:
    ~SettingsCopy() override { global_config = {}; }

    // The file that the daemon writes for these settings.
    [[nodiscard]] static std::string written() { return cfg_serialize_global_config().get(); }

    [[nodiscard]] outcome call(const char* verb) const {
        return run({VTRDC_SETTINGS_COPY, verb, file_, copy_});
    }
    // The file's contents after a restore from these contents.
    [[nodiscard]] std::string restored(const std::string& contents) const {
        fs::remove(cut_);
        folder_.write("vtrdc.conf", contents);
        static_cast<void>(call("restore"));
        return read_text(file_);
    }
    void keep(const std::string& contents) const {
        folder_.write("vtrdc.conf", contents);
        EXPECT_EQ(call("keep").status, 0);
    }

    temp_folder folder_;
    std::string file_ = folder_.path() / "vtrdc.conf";
    std::string copy_ = folder_.path() / "copy";
    std::string cut_ = file_ + ".cut";
};

// Truncated versions: empty, within each key and value, and around each newline.
std::set<std::size_t> cuts_of(const std::string& text) {
    std::set<std::size_t> cuts{0, 1};
    for (std::size_t at = 1; at < text.size(); ++at) {
        if (text[at] == '=') {
            cuts.insert({at - 1, at + 2});
        } else if (text[at] == '\n') {
            cuts.insert({at, at + 1});
        }
    }
    cuts.erase(text.size());
    return cuts;
}

TEST_F(SettingsCopy, IsRestoredWhereverTheRewriteWasCut) {
    global_config.media_path = "/media/a=b *?\\ [x]/";
    global_config.http_url = "";
    const std::string whole = written();
    keep(whole);
    global_config.luminance = 3; // the change that caused the rewrite
    global_config.origin_x = -512.25;
    global_config.origin_y = 1e20;
    const std::string rewritten = written();
    for (const std::size_t size : cuts_of(rewritten)) {
        const std::string cut = rewritten.substr(0, size);
        ASSERT_EQ(restored(cut), whole) << size;
        ASSERT_EQ(read_text(cut_), cut) << size;
    }
    for (const std::size_t size : {std::size_t{0}, std::size_t{7}, rewritten.size() / 2}) {
        const std::string cut = rewritten.substr(0, size) + std::string(600, '\0');
        EXPECT_EQ(restored(cut), whole) << "zeros after " << size;
        EXPECT_EQ(read_text(cut_), cut);
    }
}

TEST_F(SettingsCopy, LeavesManualChangesAlone) {
    const std::string whole = written();
    keep(whole);
    for (const std::string& own : {
             whole,
             whole + "reticle=0\n",
             "# all defaults\n" + whole.substr(0, 80),
             std::string{"\n"},
             std::string{"luminance=2\n"},
             std::string{"socket_file=/run/other.socket\n"}, // begins like the daemon's
             std::string{"socket_file=/run/vtrdc.socket.2"},
             std::string{"socket_file=/run/vtrdc.socket\nqml_file=/a.qml\n"}, // a line is missing
             whole.substr(0, whole.find("pip_mode")) + "pip_mode=on\n",
             whole.substr(0, whole.find("origin_x")) + "origin_x=512\n",
             std::string(3, '\0') + whole,
         }) {
        EXPECT_EQ(restored(own), own);
        EXPECT_FALSE(fs::exists(cut_));
    }
    keep("socket_file=/run/other.socket\n");
    EXPECT_EQ(restored("socket_file=/run/other.socket\nvid"), "socket_file=/run/other.socket\n");
}

TEST_F(SettingsCopy, IsMadeFromCompleteFilesOnly) {
    const std::string whole = written();
    keep(whole);
    for (const std::string& cut : {std::string{}, std::string(900, '\0'), whole.substr(0, 300)}) {
        keep(cut);
        EXPECT_EQ(read_text(copy_), whole);
    }
    keep("# mine\nluminance=2\n");
    EXPECT_EQ(read_text(copy_), "# mine\nluminance=2\n");
    EXPECT_EQ(fs::status(copy_).permissions() & fs::perms::mask, fs::perms{0600});
}

TEST_F(SettingsCopy, FollowsALinkAndKeepsTheMode) {
    keep(written());
    const std::string real = folder_.write("data/real.conf", "");
    chmod(real.c_str(), 0640);
    fs::remove(file_);
    fs::create_symlink(real, file_);
    EXPECT_THAT(call("restore").output, HasSubstr("was cut"));
    EXPECT_TRUE(fs::is_symlink(file_));
    EXPECT_EQ(read_text(real), written());
    EXPECT_EQ(fs::status(real).permissions() & fs::perms::mask, fs::perms{0640});
    EXPECT_TRUE(fs::exists(real + ".cut"));
}

TEST_F(SettingsCopy, ReportsFailures) {
    folder_.write("vtrdc.conf", "");
    const outcome without_copy = call("restore");
    EXPECT_EQ(without_copy.status, 1);
    EXPECT_THAT(without_copy.output, HasSubstr("no copy"));
    EXPECT_TRUE(fs::exists(file_));
    EXPECT_EQ(call("destroy").status, 2);
    fs::remove(file_);
    EXPECT_EQ(call("restore").status, 0); // an intended change: defaults
    EXPECT_FALSE(fs::exists(file_));
}

} // namespace
