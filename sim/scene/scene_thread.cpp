// The one thread that owns Qt: it runs whatever is posted to it, in order.
//
// The process may end by exit() at any moment while this thread is in the middle of Qt. An exit
// handler therefore stops it first. It has to be registered after the handlers of all libraries
// that Qt brings in, which run in reverse order: after the warm-up, and again after each load.
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

// What exit waits for at most: a scene that is just being loaded.
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
        // Full: the thread is awake anyway.
    }
}

// The next task; none when there is nothing to do.
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
        // Rung by nobody: nothing to do then either.
    }
    while (const std::function<void()> task = next_task()) {
        task();
    }
    if (is_stopping()) {
        QGuiApplication::quit();
    }
}

// Requests that were never run keep their scenes alive until the scenes were dropped.
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

// Of console.log and the like in a scene, which its author wants to see wherever the daemon's log
// is.
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

// A developer's own choices stay.
void prepare_environment() {
    // Else Qt takes GLib's default main context away from others, for seconds.
    setenv("QT_NO_GLIB", "1", 0);
    // Scenes recolour reticle drawings, which they read as text.
    setenv("QML_XHR_ALLOW_FILE_READ", "1", 0);
    // Compiled scenes would be left in the user's home.
    setenv("QML_DISABLE_DISK_CACHE", "1", 0);
}

void thread_main() {
    // As arguments, since a developer's desktop may name its own platform in the environment.
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
    // Ending the thread would destroy Qt's thread-local data while the process ends, too.
    for (;;) {
        pause();
    }
}

// On the thread that called exit.
void stop_before_exit() {
    std::unique_lock lock(state().mutex);
    if (std::exchange(state().stopping, true)) {
        return;
    }
    ring();
    state().changed.wait_for(lock, EXIT_TIMEOUT, [] { return state().finished; });
}

// Thread-local objects of the thread that calls exit go before any exit handler runs: this one
// comes in time also while a scene is bringing in a library. Only the main thread's end is the
// process's.
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

// All signals stay with the program's own threads.
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
