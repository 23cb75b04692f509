// The overlay element's interface to a QML scene rendered off screen. Free of Qt: one thread in the
// process runs all scenes; calls only post requests to it.
#pragma once

#include "overlay_picture.h"

#include <functional>
#include <memory>
#include <string>

namespace sim {

class scene_output;

// Called on the scene thread with a problem of the scene: "file:line: text".
using scene_warning = std::function<void(const std::string& text)>;

class overlay_scene {
public:
    // The first one in a process starts Qt and waits up to a second for it.
    explicit overlay_scene(scene_warning warning);
    overlay_scene(const overlay_scene&) = delete;
    overlay_scene& operator=(const overlay_scene&) = delete;
    // The scene is destroyed later, on its thread.
    ~overlay_scene();

    // Loads the scene file, replacing any other; an empty name removes the scene. A scene that
    // can't be loaded shows nothing. When the file, or another beside it or in a folder beside it,
    // changes, the scene is reloaded and brought to its previous state.
    void load(const std::string& file);

    // Sends "object.property:value" to the scene after earlier requests. Kept until there is a
    // scene; ignored if the scene lacks the property.
    void set_attribute(const std::string& text);

    // The current picture; none if there is nothing to show.
    [[nodiscard]] std::shared_ptr<const overlay_picture> picture() const;

private:
    std::shared_ptr<scene_output> output_;
};

} // namespace sim
