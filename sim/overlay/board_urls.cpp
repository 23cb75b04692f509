// Leads a scene's absolute paths into the simulated board's folder.
#include "board_urls.h"

#include <QFileInfo>
#include <QUrl>

#include <utility>

namespace overlay {

board_urls::board_urls(QString root, QString scene_folder)
    : root_(std::move(root)), scene_folder_(std::move(scene_folder)) {}

// One address may be asked for again after it was led into the board.
bool board_urls::is_in_place(const QString& path) const {
    return path.startsWith(root_ + u'/') ||
           (!scene_folder_.isEmpty() && path.startsWith(scene_folder_ + u'/'));
}

QUrl board_urls::intercept(const QUrl& url, DataType type) {
    if (root_.isEmpty() || !url.isLocalFile() || is_in_place(url.toLocalFile())) {
        return url;
    }
    const QString on_board = root_ + url.toLocalFile();
    // Qt's own QML modules are the host's: only what a scene names as data always moves.
    if (type != UrlString && !QFileInfo::exists(on_board)) {
        return url;
    }
    return QUrl::fromLocalFile(on_board);
}

} // namespace overlay
