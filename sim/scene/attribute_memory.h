// What a scene was told, so that the same scene can be told again.
#pragma once

#include <QString>

#include <vector>

namespace sim {

class attribute_memory {
public:
    // Takes "object.property:value" in the order of sending. It replaces what said the same before:
    // something of the same property or, where the value is a JSON object, of the same members of
    // it, since such an update says only a part. A member KEY says what the others are about.
    // Alerts pass and are not kept: KEY ends in _ALRT.
    void take(const QString& text);

    void clear() { texts_.clear(); }

    // What makes up the present state, in the order of sending.
    [[nodiscard]] std::vector<QString> texts() const;

private:
    struct remembered {
        QString subject;
        QString text;
    };

    std::vector<remembered> texts_;
};

} // namespace sim
