// Fuzzes the decoder of client requests.
#include "api/ipcmsg.h"
#include "fuzz.h"

#include <cstring>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    hush_log();
    const std::string original = input_text(data, size);
    std::string text = original;
    ipc_msg message;
    if (ipc_deserialize(text.data(), message) != 0) {
        return 0;
    }
    require(message.clen > 0 && std::strchr(message.cmd, ':') == nullptr);
    require(std::strlen(message.cmd) == message.clen && std::strlen(message.data) == message.dlen);
    require(original.ends_with(message.data));
    // Encoding and decoding a decoded request again must not change it.
    const malloc_text encoded = ipc_serialize(
        {.ctype = message.ctype, .cmd = message.cmd, .dtype = message.dtype, .data = message.data});
    require(encoded != nullptr);
    ipc_msg again;
    require(ipc_deserialize(encoded.get(), again) == 0);
    require(again.dtype == message.dtype && std::strcmp(again.cmd, message.cmd) == 0 &&
            std::strcmp(again.data, message.data) == 0);
    return 0;
}
