// Reports changes of a scene's files.
#include "scene_watch.h"

#include <QDir>
#include <QFileInfo>

#include <filesystem>
#include <utility>
#include <vector>

namespace sim {
namespace {

constexpr int SETTLE_MS = 100;

// The file itself, in case it is a link, and the folders beside it.
std::vector<std::filesystem::path> other_paths(const QFileInfo& file) {
    std::vector<std::filesystem::path> all{file.absoluteFilePath().toStdString()};
    for (const QFileInfo& inner :
         file.absoluteDir().entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        all.emplace_back(inner.filePath().toStdString());
    }
    return all;
}

} // namespace

scene_watch::scene_watch(QString file, std::function<void()> on_change)
    : file_(std::move(file)), on_change_(std::move(on_change)) {
    settled_.setSingleShot(true);
    settled_.setInterval(SETTLE_MS);
    QObject::connect(&settled_, &QTimer::timeout, [this] { tell(); });
    watch_folders();
}

void scene_watch::watch_folders() {
    const QFileInfo file(file_);
    notifier_.reset();
    folders_.emplace(file.absolutePath().toStdString(), other_paths(file));
    notifier_ = std::make_unique<QSocketNotifier>(folders_->descriptor(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
        if (folders_->changed()) {
            settled_.start();
        }
    });
}

// Folders beside the file may have come or gone. Watch them before reading anything, so that no
// change is missed.
void scene_watch::tell() {
    watch_folders();
    on_change_();
}

} // namespace sim
