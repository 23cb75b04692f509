// Media actions for client commands: recording, streams, snapshot, encoding type, microphone
// volume, graphs.
#include "control/actions_media.h"

#include "config/cfg.h"
#include "control/pipe_events.h"
#include "core/failures.h"
#include "core/log.h"
#include "util/files.h"
#include "util/free_names.h"
#include "util/text.h"
#include "video/controls.h"
#include "video/diagnostics.h"
#include "video/registry.h"
#include "video/start.h"

namespace {

// 2.25 MiB, enough for a picture of the display.
constexpr std::uint64_t SNAPSHOT_BYTES = 2'359'296;
constexpr const char* GRAPH_FOLDER = "/home/root/";

// Creates a folder in the media folder. Returns its path, or none.
malloc_text make_media_folder(const char* name) {
    malloc_text folder = concatenate_strings({global_config.media_path, name});
    if (folder) {
        create_folder(folder.get());
    }
    return folder;
}

// Returns 1 without a list; else the result of the last registration. Stops at the first failure.
int register_pipes(const std::optional<bus_list>& list) {
    if (!list) {
        return 1;
    }
    int result = 0;
    for (const bus_handle& handle : *list) {
        if (handle.fd <= 0 || result != 0) {
            break;
        }
        result = register_bus(handle);
    }
    return result;
}

// Returns a path in the folder that overwrites no file, even if the clock starts at the same time
// on every boot; none when there is no such path.
malloc_text free_path(const char* folder, const char* prefix, const char* suffix) {
    const malloc_text timestamp = get_free_timestamp(folder, prefix, std::time(nullptr));
    return timestamp ? concatenate_strings({folder, prefix, timestamp.get(), suffix}) : nullptr;
}

int start_record() {
    const char* const prefix = global_config.enc_type == ENC_TYPE_AUDIO ? "audio_" : "video_";
    const malloc_text folder = make_media_folder("/video/");
    if (!folder) {
        return 1;
    }
    if (has_enough_space(global_config.media_path, RECORD_BYTES) == 0) {
        log_failure(failure_kind::storage, "Record: not enough space");
        return 1;
    }
    // The recording replaces %02d by the number of the file.
    const malloc_text pattern = free_path(folder.get(), prefix, "_%02d.mp4");
    return pattern ? register_pipes(gstvideo_start_record(pattern.get())) : 1;
}

} // namespace

int ac_start_stop_record(int on) {
    return on != 0 ? start_record() : gstvideo_stop_record();
}

int ac_start_stop_stream(int on) {
    return on != 0 ? register_pipes(gstvideo_start_stream(global_config.tcp_stream_port))
                   : gstvideo_stop_stream();
}

int ac_start_stop_http_stream(int on) {
    return on != 0 ? register_pipes(gstvideo_start_http_stream(global_config.http_url))
                   : gstvideo_stop_http_stream();
}

int ac_make_snapshot() {
    const malloc_text timestamp = get_timestamp_string();
    if (!timestamp) {
        return 1;
    }
    log_message(LEVEL_DEBUG, "timestamp: %s", timestamp.get());
    const malloc_text folder = make_media_folder("/image/");
    if (!folder) {
        return 1;
    }
    if (has_enough_space(global_config.media_path, SNAPSHOT_BYTES) == 0) {
        log_failure(failure_kind::storage, "Snapshot: not enough space");
        return 1;
    }
    const malloc_text name = free_path(folder.get(), "img_", ".jpeg");
    if (!name) {
        return 1;
    }
    log_message(LEVEL_DEBUG, "make snapshot: %s", name.get());
    return gstvideo_takesnapshot(name.get());
}

int ac_set_enc_type(int type) {
    if (!range_of(&settings::enc_type).holds(type)) {
        return 1;
    }
    if (type == global_config.enc_type) {
        return 0;
    }
    if (const int refused = gstvideo_change_enc_type(type); refused != 0) {
        return refused;
    }
    cfg_store(&settings::enc_type, type);
    return 0;
}

int ac_set_microphone_volume(int volume) {
    if (volume == global_config.mic_volume) {
        return 0;
    }
    if (const int refused = gstvideo_set_microphone_volume(volume); refused != 0) {
        return refused;
    }
    cfg_store(&settings::mic_volume, volume);
    return 0;
}

int ac_generate_dot_file() {
    for (int pipe = 0; pipe < PIPE_COUNT; ++pipe) {
        const malloc_text timestamp = get_timestamp_string();
        if (!timestamp) {
            return 1;
        }
        const malloc_text path = concatenate_strings(
            {GRAPH_FOLDER, pipe_short_name(pipe), "_", timestamp.get(), ".dot"});
        if (!path) {
            return -1;
        }
        // A pipe that doesn't exist has no graph; that is no failure.
        static_cast<void>(gstvideo_generate_dot_file(pipe, path.get()));
    }
    return 0;
}
