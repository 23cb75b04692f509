// The one thread that owns Qt: it runs whatever is posted to it, in order.
//
// The process may end by exit() at any moment while this thread is in the middle of Qt. An exit
// handler therefore stops it first. It has to be registered after the handlers of all libraries
// that Qt brings in, which run in reverse order: after the warm-up, and again after each load.
#include "scene_thread.h"

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
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

#include <gst/gst.h>

namespace sim {
namespace {

// What exit waits for at most: a scene that is just being loaded.
constexpr std::chrono::milliseconds exit_patience{1500};

struct thread_state {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> tasks;
    std::function<void()> at_end;
    bool started = false;
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

void tell(bool thread_state::*flag) {
    const std::scoped_lock lock(state().mutex);
    state().*flag = true;
    state().changed.notify_all();
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

void log_qt_message(QtMsgType, const QMessageLogContext&, const QString& text) {
    GST_INFO("Qt: %s", text.toUtf8().constData());
}

void prepare_environment() {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    // Else Qt takes GLib's default main context away from others, for seconds.
    setenv("QT_NO_GLIB", "1", 1);
    // Scenes recolour reticle drawings, which they read as text.
    setenv("QML_XHR_ALLOW_FILE_READ", "1", 1);
    // Compiled scenes would be left in the user's home.
    setenv("QML_DISABLE_DISK_CACHE", "1", 1);
}

void thread_main() {
    static int argument_count = 1;
    static std::array<char, 6> name{"scene"};
    static std::array<char*, 2> arguments{name.data(), nullptr};
    qInstallMessageHandler(log_qt_message);
    {
        QGuiApplication application(argument_count, arguments.data());
        QSocketNotifier notifier(state().wake_up, QSocketNotifier::Read);
        QObject::connect(&notifier, &QSocketNotifier::activated, run_tasks);
        tell(&thread_state::started);
        if (!is_stopping()) {
            QGuiApplication::exec();
        }
        end_qt();
    }
    tell(&thread_state::finished);
    // Ending the thread would destroy Qt's thread-local data while the process ends, too.
    for (;;) {
        pause();
    }
}

// On the thread that called exit.
void stop_before_exit() {
    std::unique_lock lock(state().mutex);
    state().stopping = true;
    ring();
    state().changed.wait_for(lock, exit_patience, [] { return state().finished; });
}

// Thread-local objects of the thread that calls exit go before any exit handler runs: this one comes
// in time also while a scene is bringing in a library. Only the main thread's end is the process's.
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
        std::unique_lock lock(state().mutex);
        state().changed.wait(lock, [] { return state().started; });
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
