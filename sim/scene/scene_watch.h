// Tells when the files of a scene changed. Scene thread only.
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
    // Watches the folder of the scene file with the folders in it, and where the file is a link,
    // the folder that it leads to. Any of them may be missing, or replaced by another. Told once a
    // burst of changes is over, a tenth of a second after the last of them; what is told may
    // destroy the watch's scene, but not the watch.
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
