// The program that delays the service's next start after a failed one.
#include "support/process.h"
#include "support/temp_folder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

using testing::HasSubstr;

namespace {

class LaterRestart : public testing::Test {
protected:
    LaterRestart() {
        // Replaces the real one.
        fs::permissions(folder_.write("bin/sleep", "#!/bin/sh\necho slept $1\n"), fs::perms{0755});
    }
    [[nodiscard]] std::string after(const std::string& result) const {
        return run({VTRDC_LATER_RESTART, ready_, folder_.path() / "failed"},
                   {"SERVICE_RESULT=" + result, "PATH=" + bin_ + ":/usr/bin:/bin"})
            .output;
    }

    temp_folder folder_;
    std::string ready_ = folder_.path() / "ready";
    std::string bin_ = folder_.path() / "bin";
};

TEST_F(LaterRestart, WaitsLongerAfterEachStartThatFails) {
    for (const char* seconds : {"2", "4", "8", "16", "30", "30"}) {
        EXPECT_THAT(after("exit-code"), HasSubstr(std::string{"slept "} + seconds + "\n"));
    }
    EXPECT_EQ(after("success"), ""); // it was stopped
    EXPECT_THAT(after("timeout"), HasSubstr("slept 2\n"));
    folder_.write("ready", "");
    EXPECT_EQ(after("signal"), ""); // it crashed later
    fs::remove(ready_);
    EXPECT_THAT(after("exit-code"), HasSubstr("slept 2\n"));
}

} // namespace
