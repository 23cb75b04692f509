// The command socket's file.
#include "api/socket.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace {

TEST(CommandSocket, LongPathIsCutAndServesAgain) {
    const temp_folder folder;
    const std::string path = folder.write(std::string(120, 's'), "of somebody else");
    for (int start = 0; start < 2; ++start) {
        const server_owner server = socket_init(AF_UNIX, SOCK_STREAM);
        ASSERT_TRUE(server);
        socket_bind(*server, path.c_str());
        socket_listen(*server);
        socket_close(*server);
    }
    EXPECT_TRUE(std::filesystem::is_socket(path.substr(0, 107)));
    EXPECT_EQ(read_text(path), "of somebody else");
}

} // namespace
