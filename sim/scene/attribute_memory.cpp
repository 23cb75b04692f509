// Remembers a scene's updates, to replay them.
#include "attribute_memory.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace sim {
namespace {

// What the update sets; empty for an event.
QString subject_of(const QString& text) {
    const qsizetype colon = text.indexOf(u':', text.indexOf(u'.') + 1);
    const QString target = text.left(colon);
    const QJsonObject update = QJsonDocument::fromJson(text.mid(colon + 1).toUtf8()).object();
    const QString key = update.value(QStringLiteral("KEY")).toString();
    if (key.endsWith(QStringLiteral("_ALRT"))) {
        return {};
    }
    return QStringList{target, key, update.keys().join(u',')}.join(u':');
}

} // namespace

void attribute_memory::take(const QString& text) {
    const QString subject = subject_of(text);
    if (subject.isEmpty()) {
        return;
    }
    std::erase_if(texts_, [&](const remembered& each) { return each.subject == subject; });
    texts_.push_back({subject, text});
}

std::vector<QString> attribute_memory::texts() const {
    std::vector<QString> all;
    for (const remembered& each : texts_) {
        all.push_back(each.text);
    }
    return all;
}

} // namespace sim
