// The Git hook that scripts/setup --hook installs, in a repository with a copy of the scripts.
#include "run.h"

#include "support/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

using testing::HasSubstr;

namespace {

class CommitHookTest : public testing::Test {
protected:
    void SetUp() override {
        if (run({"/bin/sh", "-c", "command -v git"}).status != 0) {
            GTEST_SKIP() << "git is not installed";
        }
        fs::create_directories(at("main"));
        fs::copy(VTRDC_SOURCE_DIR "/scripts", at("main/scripts"), fs::copy_options::recursive);
        ASSERT_EQ(git("main", "init --quiet").status, 0);
        ASSERT_EQ(git("main", "add scripts && git commit --quiet -m first").status, 0);
    }

    [[nodiscard]] fs::path at(const std::string& name) const { return folder_.path() / name; }

    // Runs "git WORDS" in that folder, without personal settings.
    [[nodiscard]] outcome git(const std::string& where, const std::string& words) const {
        return run({"/bin/sh", "-c", "cd \"$0\" && git " + words, at(where)},
                   {"GIT_CONFIG_GLOBAL=/dev/null", "GIT_AUTHOR_NAME=a", "GIT_AUTHOR_EMAIL=a@b",
                    "GIT_COMMITTER_NAME=a", "GIT_COMMITTER_EMAIL=a@b"});
    }

    [[nodiscard]] outcome install_hook() const { return run({at("main/scripts/setup"), "--hook"}); }

    temp_folder folder_;
};

TEST_F(CommitHookTest, ChecksWhatIsStagedInEveryWorktree) {
    EXPECT_EQ(install_hook().status, 0);
    EXPECT_EQ(install_hook().status, 0) << "its own hook is there";
    ASSERT_EQ(git("main", "worktree add --quiet ../linked").status, 0);

    folder_.write("linked/tool", "#!/bin/sh\nif\n");
    const outcome refused = git("linked", "add tool && git commit -m tool");
    EXPECT_NE(refused.status, 0);
    EXPECT_THAT(refused.output, HasSubstr("tool: syntax error"));

    folder_.write("linked/tool", "#!/bin/sh\nexit\n");
    ASSERT_EQ(git("linked", "add tool").status, 0);
    folder_.write("linked/tool", "#!/bin/sh\nif\n"); // not staged
    EXPECT_EQ(git("linked", "commit --quiet -m tool").status, 0);
}

TEST_F(CommitHookTest, KeepsAnotherHook) {
    folder_.write("main/.git/hooks/pre-commit", "#!/bin/sh\n");
    const outcome kept = install_hook();
    EXPECT_EQ(kept.status, 1);
    EXPECT_THAT(kept.output, HasSubstr("scripts/hooks/pre-commit"));
    EXPECT_EQ(read_text(at("main/.git/hooks/pre-commit")), "#!/bin/sh\n");
}

} // namespace
