// Reports changes of a scene's files. Scene thread only.
#pragma once

#include "folder_watch.h"

#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace sim {

class scene_watch {
public:
    // Watches the scene file's folder and its subfolders, and the target's folder if the file is a
    // link. Any of them may be missing or replaced. Reports a burst of changes once, a tenth of a
    // second after the last. The callback may destroy the scene, but not the watch.
    scene_watch(QString file, std::function<void()> on_change);
    scene_watch(const scene_watch&) = delete;
    scene_watch& operator=(const scene_watch&) = delete;

private:
    void watch_folders();
    void tell();

    const QString file_;
    const std::function<void()> on_change_;
    QTimer settled_;
    std::optional<folder_watch> folders_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace sim
