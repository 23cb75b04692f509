// The thread that owns Qt: runs posted tasks in order.
//
// exit() may be called at any time while this thread is inside Qt. An exit handler therefore stops
// it first. Handlers run in reverse order, so it must be registered after those of all libraries
// that Qt loads: after the warm-up, and again after each load.
#include "scene_thread.h"

#include "scene_log.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <array>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <string_view>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace sim {
namespace {

// Time limit for exit to wait, for example for a scene being loaded.
constexpr std::chrono::milliseconds EXIT_TIMEOUT{1500};

struct thread_state {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> tasks;
    std::function<void()> at_end;
    bool stopping = false;
    bool finished = false;
    int wake_up = -1; // eventfd
};

// Leaked: the thread outlives everything else.
thread_state& state() {
    static auto* const instance = new thread_state;
    return *instance;
}

void ring() {
    const std::uint64_t one = 1;
    if (write(state().wake_up, &one, sizeof one) < 0) {
        // The counter is full: the thread is awake anyway.
    }
}

// Returns the next task, or none.
std::function<void()> next_task() {
    const std::scoped_lock lock(state().mutex);
    if (state().tasks.empty() || state().stopping) {
        return nullptr;
    }
    std::function<void()> task = std::move(state().tasks.front());
    state().tasks.pop_front();
    return task;
}

bool is_stopping() {
    const std::scoped_lock lock(state().mutex);
    return state().stopping;
}

void run_tasks() {
    std::uint64_t count = 0;
    if (read(state().wake_up, &count, sizeof count) < 0) {
        // Nothing to read: spurious wake-up.
    }
    while (const std::function<void()> task = next_task()) {
        task();
    }
    if (is_stopping()) {
        QGuiApplication::quit();
    }
}

// Pending requests keep their scenes alive until the scenes are destroyed.
void end_qt() {
    std::function<void()> at_end;
    {
        const std::scoped_lock lock(state().mutex);
        at_end = state().at_end;
    }
    if (at_end) {
        at_end();
    }
    const std::scoped_lock lock(state().mutex);
    state().tasks.clear();
}

// True for console.log and the like, which a scene's author wants to see in the daemon's log.
bool is_of_script(const QMessageLogContext& context) {
    const std::string_view category = context.category != nullptr ? context.category : "";
    return category == "qml" || category == "js";
}

void log_qt_message(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (is_of_script(context)) {
        say_of_scene(text.toStdString());
        return;
    }
    const bool routine = type == QtDebugMsg || type == QtInfoMsg;
    GST_CAT_LEVEL_LOG(GST_CAT_DEFAULT, routine ? GST_LEVEL_INFO : GST_LEVEL_WARNING, nullptr,
                      "Qt: %s", text.toUtf8().constData());
}

// Keeps a developer's own settings.
void prepare_environment() {
    // Otherwise Qt takes GLib's default main context from others, for seconds.
    setenv("QT_NO_GLIB", "1", 0);
    // Scenes read reticle drawings as text, to recolour them.
    setenv("QML_XHR_ALLOW_FILE_READ", "1", 0);
    // Compiled scenes would be written to the user's home.
    setenv("QML_DISABLE_DISK_CACHE", "1", 0);
}

void thread_main() {
    // As arguments: a developer's desktop may set the platform in the environment.
    static std::array<std::array<char, 10>, 3> texts{{{"scene"}, {"-platform"}, {"offscreen"}}};
    static std::array<char*, 4> arguments{texts[0].data(), texts[1].data(), texts[2].data(),
                                          nullptr};
    static int argument_count = static_cast<int>(texts.size());
    qInstallMessageHandler(log_qt_message);
    {
        QGuiApplication application(argument_count, arguments.data());
        QSocketNotifier notifier(state().wake_up, QSocketNotifier::Read);
        QObject::connect(&notifier, &QSocketNotifier::activated, run_tasks);
        if (!is_stopping()) {
            QGuiApplication::exec();
        }
        end_qt();
    }
    {
        const std::scoped_lock lock(state().mutex);
        state().finished = true;
        state().changed.notify_all();
    }
    // Ending the thread would destroy Qt's thread-local data during exit.
    for (;;) {
        pause();
    }
}

// Runs on the thread that called exit.
void stop_before_exit() {
    std::unique_lock lock(state().mutex);
    if (std::exchange(state().stopping, true)) {
        return;
    }
    ring();
    state().changed.wait_for(lock, EXIT_TIMEOUT, [] { return state().finished; });
}

// Thread-local objects of the thread that calls exit are destroyed before exit handlers run, so
// this one is in time even while a scene is loading a library. Only for the main thread, whose end
// is the process's.
struct exit_guard {
    exit_guard() = default;
    exit_guard(const exit_guard&) = delete;
    exit_guard& operator=(const exit_guard&) = delete;
    ~exit_guard() {
        if (gettid() == getpid()) {
            stop_before_exit();
        }
    }
};

// Signals are left to the program's own threads.
void start_without_signals() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread(thread_main).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace

void scene_thread_start() {
    [[maybe_unused]] static thread_local exit_guard guard;
    static std::once_flag once;
    std::call_once(once, [] {
        prepare_environment();
        state().wake_up = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        start_without_signals();
    });
}

void scene_thread_post(std::function<void()> task) {
    const std::scoped_lock lock(state().mutex);
    state().tasks.push_back(std::move(task));
    ring();
}

void scene_thread_guard_exit() {
    std::atexit(stop_before_exit);
}

void scene_thread_at_end(std::function<void()> task) {
    const std::scoped_lock lock(state().mutex);
    state().at_end = std::move(task);
}

} // namespace sim
