// Encodes the panel's picture as JPEG on a thread of low priority.
#include "panel_encoder.h"

#include "panel_reader.h"

#include <memory>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <turbojpeg.h>
#include <unistd.h>
#include <utility>

namespace web {
namespace {

// Keeps fine reticle lines clean, at about 150 kB a picture.
constexpr int JPEG_QUALITY = 85;
constexpr int NICE = 10;

struct jpeg_release {
    void operator()(void* compressor) const noexcept { tjDestroy(compressor); }
    void operator()(unsigned char* picture) const noexcept { tjFree(picture); }
};

g_owned<GBytes> encode(void* compressor, const std::vector<std::uint8_t>& pixels) {
    unsigned char* picture = nullptr;
    unsigned long size = 0;
    const int status =
        tjCompress2(compressor, pixels.data(), sim::PANEL_WIDTH, 0, sim::PANEL_HEIGHT, TJPF_BGRX,
                    &picture, &size, TJSAMP_444, JPEG_QUALITY, TJFLAG_FASTDCT);
    const std::unique_ptr<unsigned char, jpeg_release> owner(picture);
    return g_owned<GBytes>(status == 0 ? g_bytes_new(picture, size) : nullptr);
}

} // namespace

panel_encoder::panel_encoder(std::string panel, std::function<void(g_owned<GBytes>)> done)
    : panel_(std::move(panel)), done_(std::move(done)), pixels_(sim::PANEL_BYTES),
      finished_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      worker_([this](const std::stop_token& stop) { work(stop); }) {
    watch_.start(finished_.get(), G_IO_IN, [this] { finish(); });
}

void panel_encoder::start() {
    is_busy_ = true;
    const std::scoped_lock lock{mutex_};
    is_wanted_ = true;
    wake_up_.notify_one();
}

void panel_encoder::work(const std::stop_token& stop) {
    // On Linux, that of this thread alone. Threads of the daemon, which the server may start,
    // inherit the main thread's.
    static_cast<void>(setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), NICE));
    const std::unique_ptr<void, jpeg_release> compressor{tjInitCompress()};
    std::unique_lock lock{mutex_};
    while (wake_up_.wait(lock, stop, [this] { return is_wanted_; })) {
        is_wanted_ = false;
        lock.unlock();
        g_owned<GBytes> result;
        if (read_panel(panel_.c_str(), pixels_)) {
            result = encode(compressor.get(), pixels_);
        }
        lock.lock();
        result_ = std::move(result);
        static_cast<void>(eventfd_write(finished_.get(), 1));
    }
}

void panel_encoder::finish() {
    eventfd_t count = 0;
    static_cast<void>(eventfd_read(finished_.get(), &count));
    is_busy_ = false;
    std::unique_lock lock{mutex_};
    g_owned<GBytes> result = std::move(result_);
    lock.unlock();
    done_(std::move(result));
}

} // namespace web
