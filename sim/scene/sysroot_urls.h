// Lets scenes use paths as on the sight, below the system root of a simulated board.
#pragma once

#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QQmlAbstractUrlInterceptor>
#include <QQmlNetworkAccessManagerFactory>
#include <QString>
#include <QUrl>

namespace sim {

class sysroot_urls final : public QQmlAbstractUrlInterceptor {
public:
    // Redirects a local file into the root if it exists there.
    QUrl intercept(const QUrl& url, DataType) override { return led_inside(url); }

    [[nodiscard]] QUrl led_inside(const QUrl& url) const {
        const QString inside = root_ + url.toLocalFile();
        const bool maps = !root_.isEmpty() && url.isLocalFile() && QFile::exists(inside);
        return maps ? QUrl::fromLocalFile(inside) : url;
    }

private:
    const QString root_ = qEnvironmentVariable("VTRDC_SYSROOT");
};

// Requests by scripts (XMLHttpRequest) bypass interceptors.
class sysroot_files final : public QQmlNetworkAccessManagerFactory {
public:
    explicit sysroot_files(const sysroot_urls& urls) : urls_(urls) {}

    QNetworkAccessManager* create(QObject* parent) override { return new manager(urls_, parent); }

private:
    class manager final : public QNetworkAccessManager {
    public:
        manager(const sysroot_urls& urls, QObject* parent)
            : QNetworkAccessManager(parent), urls_(urls) {}

    protected:
        QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request,
                                     QIODevice* data) override {
            QNetworkRequest inside = request;
            inside.setUrl(urls_.led_inside(request.url()));
            return QNetworkAccessManager::createRequest(operation, inside, data);
        }

    private:
        const sysroot_urls& urls_;
    };

    const sysroot_urls& urls_;
};

} // namespace sim
