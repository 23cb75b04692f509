// Remembers a scene's updates, to replay them.
#pragma once

#include <QString>

#include <vector>

namespace sim {

class attribute_memory {
public:
    // Adds "object.property:value". It replaces an earlier update of the same property or, if the
    // value is a JSON object, of the same members, since such an update is partial. A member KEY
    // names what the other members are about. Alerts (KEY ends in _ALRT) are events and not kept.
    void take(const QString& text);

    void clear() { texts_.clear(); }

    // The updates that make up the current state, in order.
    [[nodiscard]] std::vector<QString> texts() const;

private:
    struct remembered {
        QString subject;
        QString text;
    };

    std::vector<remembered> texts_;
};

} // namespace sim
