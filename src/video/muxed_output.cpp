// Outputs that mux what they get from the branches.
#include "video/muxed_output.h"

#include "core/log.h"
#include "video/pad_template.h"
#include "video/pipe_slots.h"

#include <array>
#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

// Settling time after the change to playing; the loop waits meanwhile.
constexpr auto SETTLING_TIME = 200ms;

gst_owned<GstElement> element_of(GstElement* pipeline, const char* name) {
    return gst_owned<GstElement>{gst_bin_get_by_name(GST_BIN(pipeline), name)};
}

bool link_to_muxer(GstElement* source, GstElement* muxer, const muxer_input& input) {
    const gst_owned<GstPadTemplate> pad_template =
        get_pad_template(muxer, GST_PAD_SINK, GST_PAD_REQUEST, input.pad_template);
    if (!pad_template) {
        return false;
    }
    const gst_owned<GstPad> from{gst_element_get_static_pad(source, "src")};
    const gst_owned<GstPad> to{
        gst_element_request_pad(muxer, pad_template.get(), input.pad_name, nullptr)};
    return to && gst_pad_link(from.get(), to.get()) == GST_PAD_LINK_OK;
}

int build_input(GstElement* pipeline, const char* muxer_name, const muxer_input& input) {
    if (build_elements(pipeline, input.chain) != 0) {
        return -1;
    }
    const gst_owned<GstElement> last = element_of(pipeline, input.chain.elements.back().name);
    const gst_owned<GstElement> muxer = element_of(pipeline, muxer_name);
    if (!link_to_muxer(last.get(), muxer.get(), input)) {
        log_message(LEVEL_ERROR, "%s", input.pad_failed);
        return -1;
    }
    return 0;
}

} // namespace

int build_muxed_output(GstElement* pipeline, const muxed_output& output, int enc_type,
                       pipe_argument target) {
    if (build_elements(pipeline, output.pipe, std::array{target}) != 0) {
        return -1;
    }
    for (const muxer_input& input : output.inputs) {
        if (input.left_out_for != enc_type && build_input(pipeline, output.muxer, input) != 0) {
            return -1;
        }
    }
    gstvideo_set_state(pipeline, GST_STATE_PLAYING);
    std::this_thread::sleep_for(SETTLING_TIME);
    return 0;
}
