// Leads a scene's absolute paths into the simulated board's folder, as a changed root would.
#pragma once

#include <QQmlAbstractUrlInterceptor>
#include <QString>

namespace overlay {

class board_urls final : public QQmlAbstractUrlInterceptor {
public:
    // root: the board's folder without a slash at its end, empty for none.
    // scene_folder: files in it are meant as they are, also when it is outside the board.
    board_urls(QString root, QString scene_folder);

    QUrl intercept(const QUrl& url, DataType type) override;

private:
    [[nodiscard]] bool is_in_place(const QString& path) const;

    QString root_;
    QString scene_folder_;
};

} // namespace overlay
