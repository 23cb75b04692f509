// Lets scenes name files as they stand on the sight: below the system root of a simulated board.
#pragma once

#include <QFile>
#include <QQmlAbstractUrlInterceptor>
#include <QString>
#include <QUrl>

namespace sim {

class sysroot_urls : public QQmlAbstractUrlInterceptor {
public:
    // A local file that stands below the root as well is taken from there.
    QUrl intercept(const QUrl& url, DataType) override {
        const QString inside = root_ + url.toLocalFile();
        const bool maps = !root_.isEmpty() && url.isLocalFile() && QFile::exists(inside);
        return maps ? QUrl::fromLocalFile(inside) : url;
    }

private:
    const QString root_ = qEnvironmentVariable("VTRDC_SYSROOT");
};

} // namespace sim
