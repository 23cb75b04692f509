// Lets scenes name files as they stand on the sight: below the system root of a simulated board.
#pragma once

#include <QLibraryInfo>
#include <QQmlAbstractUrlInterceptor>
#include <QString>
#include <QUrl>

namespace sim {

class sysroot_urls : public QQmlAbstractUrlInterceptor {
public:
    // Files outside the root are looked for inside it; what Qt itself imports stays where it is.
    QUrl intercept(const QUrl& url, DataType) override {
        const QString path = url.toLocalFile();
        if (root_.isEmpty() || !url.isLocalFile() || is_below(path, root_) ||
            is_below(path, QLibraryInfo::path(QLibraryInfo::QmlImportsPath))) {
            return url;
        }
        return QUrl::fromLocalFile(root_ + path);
    }

private:
    static bool is_below(const QString& path, const QString& folder) {
        return path == folder || path.startsWith(folder + u'/');
    }

    const QString root_ = qEnvironmentVariable("VTRDC_SYSROOT");
};

} // namespace sim
