// The log's levels and line format, and checked allocation, which ends the process.
#include "core/imem.h"
#include "core/log.h"
#include "support/temp_folder.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

class LogTest : public testing::Test {
protected:
    LogTest() { log_open(path_.c_str()); }
    ~LogTest() override {
        log_close();
        log_verbose = 0;
    }
    [[nodiscard]] std::string lines() const { return read_text(path_); }

    temp_folder folder_;
    std::string path_ = folder_.path() / "log";
};

TEST_F(LogTest, LineHasTimeLabelAndMessage) {
    EXPECT_EQ(log_message(LEVEL_WARN, "pipe %d of %s", 3, "ten"), 0);
    EXPECT_THAT(lines(), MatchesRegex("[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 0-9][0-9] "
                                      "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] [0-9]+ "
                                      "\\[WARN\\]: pipe 3 of ten\n"));
}

TEST_F(LogTest, DebugNeedsVerboseAndUnknownLevelsWriteNothing) {
    log_message(LEVEL_DEBUG, "quiet");
    log_message(7, "seven");
    log_message(-1, "minus one");
    EXPECT_EQ(lines(), "");
    log_verbose = 1;
    log_message(LEVEL_DEBUG, "loud");
    EXPECT_THAT(lines(), EndsWith(" [DEBUG]: loud\n"));
}

TEST_F(LogTest, LongMessageIsCut) {
    log_message(LEVEL_INFO, "%s", std::string(2000, 'x').c_str());
    EXPECT_THAT(lines(), EndsWith("[INFO]: " + std::string(1023, 'x') + "\n"));
}

TEST_F(LogTest, ReopeningAppends) {
    log_message(LEVEL_INFO, "first");
    log_close();
    log_open(path_.c_str());
    log_message(LEVEL_INFO, "second");
    EXPECT_THAT(lines(), HasSubstr("first\n"));
    EXPECT_THAT(lines(), EndsWith("second\n"));
}

TEST_F(LogTest, StandardOutputIsUsedWithoutAFile) {
    testing::internal::CaptureStdout();
    log_close();
    log_message(LEVEL_INFO, "after the close");
    log_open("/nonexistent/folder/log");
    log_message(LEVEL_INFO, "can't open");
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_THAT(output, HasSubstr("[INFO]: after the close\n"));
    EXPECT_THAT(output, HasSubstr("[INFO]: can't open\n"));
}

TEST_F(LogTest, ErrorEndsTheProcessWithErrno) {
    EXPECT_EXIT((errno = ENOENT, log_fatal("no %s", "more")), testing::ExitedWithCode(1), "");
    EXPECT_THAT(lines(), EndsWith(" [ERROR][errno=2]: no more\n"));
    EXPECT_EXIT((errno = EIO, log_message(LEVEL_ERROR, "by level")), testing::ExitedWithCode(1),
                "");
    EXPECT_THAT(lines(), EndsWith(" [ERROR][errno=5]: by level\n"));
}

TEST_F(LogTest, FailedAllocationIsAnError) {
    // Larger than any object can be; volatile hides it from the compiler.
    volatile std::size_t impossible = std::numeric_limits<std::size_t>::max() / 2 + 1;
    const std::string text = "malloc of " + std::to_string(impossible) + " bytes failed:\n";
    EXPECT_EXIT(static_cast<void>(emalloc(impossible)), testing::ExitedWithCode(1), "");
    EXPECT_THAT(lines(), EndsWith(text));
    EXPECT_EXIT(static_cast<void>(erealloc(emalloc(1), impossible)), testing::ExitedWithCode(1),
                "");
    EXPECT_THAT(lines(), EndsWith(text));
}

TEST_F(LogTest, ReallocationKeepsContents) {
    malloc_block block{estrdup("reticle").release()};
    block = erealloc(std::move(block), 4096);
    EXPECT_STREQ(static_cast<const char*>(block.get()), "reticle");
}

} // namespace
