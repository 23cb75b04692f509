// Random valid and invalid requests, and the expected answers.
#include "requests.h"

#include <limits>

namespace {

constexpr std::size_t REQUEST_SIZE = 2048;
constexpr const char* UNDECODABLE = "Failed to decode the command";
constexpr const char* BAD_COUNT = "Invalid argument count";
constexpr int ANY_INT[] = {0,  1,   2,    3,     4,
                           -1, 100, 4711, 65536, std::numeric_limits<int>::min(),
                           7,  99,  -2,   10,    std::numeric_limits<int>::max()};
constexpr double ANY_NUMBER[] = {0.0, 512.0, 384.0, -1.5, 1023.9, 0.25, 1e9, -1e300, 77.7};

request make(dice& dice, const std::string& command, const std::string& data, char type,
             const std::string& reply = "") {
    // The letter is checked but has no meaning.
    const std::string letter{dice.pick(std::string_view{"siln"})};
    return {"c:" + command + ":" + letter + ":" + data, command, type, reply};
}

request with_number(dice& dice, const std::string& command, int number, char type) {
    return make(dice, command, std::to_string(number), type);
}

char success_of(bool succeeds) {
    return succeeds ? 'r' : 'e';
}

// --- The sight's controls --------------------------------------------------------------------

request getter(dice& dice, const sight_state& /*state*/) {
    constexpr const char* commands[] = {"get_lum",     "get_pip",      "get_zoom",
                                        "get_reticle", "get_enc_type", "get_mic_volume",
                                        "print_config"};
    return make(dice, dice.pick(commands), "", 'r', "*");
}

request switch_on_or_off(dice& dice, const sight_state& /*state*/) {
    constexpr const char* commands[] = {"enable_qml", "enable_reticle", "enable_dot",
                                        "set_reticle_src"};
    return with_number(dice, dice.pick(commands), dice.pick(ANY_INT), 'r');
}

request table_index(dice& dice, const sight_state& /*state*/) {
    struct table {
        const char* command;
        int size;
    };
    constexpr table tables[] = {{"set_lum", 4}, {"set_reticle_color", 7}, {"set_mic_volume", 101}};
    const table& drawn = dice.pick(tables);
    const int index = dice.number(-2, drawn.size + 2);
    return with_number(dice, drawn.command, index, success_of(index >= 0 && index < drawn.size));
}

request opacity(dice& dice, const sight_state& /*state*/) {
    const int percent = dice.number(-20, 120);
    return make(dice, "set_reticle_opacity", std::to_string(percent / 100.0),
                success_of(percent >= 0 && percent <= 100));
}

request origin(dice& dice, const sight_state& /*state*/) {
    const std::string x = std::to_string(dice.pick(ANY_NUMBER));
    const std::string y = std::to_string(dice.pick(ANY_NUMBER));
    return make(dice, "set_origin", x + "," + y, 'r');
}

request overlay_property(dice& dice, const sight_state& /*state*/) {
    constexpr const char* objects[] = {"ReticleMenu", "OffMenu", "FtrMenu", "nothing", "%n%s"};
    constexpr const char* properties[] = {"offMenuParams", "pipSt", "text", "retProfParam"};
    const std::string value = dice.bytes(static_cast<std::size_t>(dice.number(0, 300)), ',');
    return make(dice, "set_qml_prop",
                std::string{dice.pick(objects)} + "," + dice.pick(properties) + ",v" + value, 'r');
}

request core_command(dice& dice, const sight_state& state) {
    constexpr const char* commands[] = {"kbd_zoom", "kbd_nuc", "enable_pip"};
    return with_number(dice, dice.pick(commands), dice.number(0, 4),
                       success_of(state.handed_over || !state.core_refuses));
}

request nuc_type(dice& dice, const sight_state& state) {
    const int type = dice.number(-1, 4);
    const bool is_known = type >= 0 && type <= 3;
    return with_number(dice, "set_nuc_type", type,
                       success_of(is_known && (state.handed_over || !state.core_refuses)));
}

request simple(dice& dice, const sight_state& /*state*/) {
    constexpr const char* commands[] = {"kbd_pol", "pipeline_state", "create_dot"};
    return make(dice, dice.pick(commands), "", 'r');
}

// --- Media and pipes -------------------------------------------------------------------------

request encoding_type(dice& dice, const sight_state& /*state*/) {
    const int type = dice.number(-1, 3);
    return with_number(dice, "set_enc_type", type, type >= 0 && type <= 2 ? '?' : 'e');
}

request output(dice& dice, const sight_state& state) {
    constexpr const char* commands[] = {"enable_tcp_stream", "enable_http_stream", "enable_record"};
    // In calm periods the recording has its own schedule.
    const auto count = static_cast<std::size_t>(state.calm ? 2 : 3);
    const bool on = dice.chance(60);
    return with_number(dice, dice.pick(std::span{commands}.first(count)), on ? 1 : 0,
                       on ? '?' : 'r');
}

request snapshot_or_pipe(dice& dice, const sight_state& state) {
    if (state.calm) {
        return make(dice, "make_snapshot", "", '?');
    }
    constexpr const char* of_one[] = {"create_pipe", "pause_pipe", "resume_pipe"};
    constexpr const char* of_all[] = {"pause_video", "resume_video"};
    const int pipe = dice.number(-1, 10);
    const bool is_pipe = pipe >= 0 && pipe < 10;
    switch (dice.number(0, 3)) {
    case 0:
        return make(dice, dice.pick(of_all), "", '?');
    case 1:
        return with_number(dice, "kill_pipe", pipe, success_of(is_pipe));
    default:
        return with_number(dice, dice.pick(of_one), pipe, is_pipe ? '?' : 'e');
    }
}

// --- Bad requests ----------------------------------------------------------------------------

request noise(dice& dice, const sight_state& /*state*/) {
    const int length = dice.number(0, static_cast<int>(REQUEST_SIZE) - 1);
    return {"x" + dice.bytes(static_cast<std::size_t>(length), 'c'), "no_cmd", 'e', UNDECODABLE};
}

request undecodable(dice& dice, const sight_state& /*state*/) {
    constexpr const char* texts[] = {
        ":", "c", "c:get_lum", "r:get_lum:n:", "c:get_lum:x", "::::::::::::", "c:get_lum:", "\n"};
    return {dice.pick(texts), "no_cmd", 'e', UNDECODABLE};
}

request unknown(dice& dice, const sight_state& /*state*/) {
    std::string name = dice.bytes(static_cast<std::size_t>(dice.number(1, 400)), ':') + "x";
    for (char& each : name) {
        each = each == '\0' ? '0' : each;
    }
    return {"c:" + name + ":n:", name, 'e', "Unknown command"};
}

request bad_list(dice& dice, const sight_state& /*state*/) {
    constexpr const char* lists[] = {"", "1", "1,2,3,4", "a,b\\,c", ",", "1,2,3,4,5,6,7,8,9,10,11"};
    constexpr const char* commands[] = {"set_qml_prop", "set_origin"};
    const std::string data = dice.pick(lists);
    const std::string command = dice.pick(commands);
    if (command == "set_origin" && data == "a,b\\,c") {
        return make(dice, command, data, 'r'); // two arguments, both read as 0
    }
    return make(dice, command, data, 'e', BAD_COUNT);
}

request refused(dice& dice, const sight_state& /*state*/) {
    return with_number(dice, "enable_video", dice.pick(ANY_INT), 'e');
}

using maker = request (*)(dice& dice, const sight_state& state);

constexpr maker makers[] = {
    getter,           switch_on_or_off, table_index,  opacity,     origin,
    overlay_property, core_command,     nuc_type,     simple,      encoding_type,
    output,           snapshot_or_pipe, noise,        undecodable, unknown,
    bad_list,         refused,          core_command, output,      snapshot_or_pipe,
};

} // namespace

bool request::is_answered_by(const std::string& reply) const {
    if (reply.empty() || (type == '?' ? reply[0] != 'r' && reply[0] != 'e' : reply[0] != type)) {
        return false;
    }
    const std::string head = reply.substr(0, 1) + ":" + command + ":";
    if (data == "*") {
        return reply.starts_with(head + "s:") && reply.size() > head.size() + 2;
    }
    return reply == head + (data.empty() ? "n:" : "s:" + data);
}

request draw_request(dice& dice, const sight_state& state) {
    return dice.pick(makers)(dice, state);
}

std::string lengthy_request() {
    std::string text = "c:print_config:n:";
    text.resize(REQUEST_SIZE, 'x');
    return text;
}
