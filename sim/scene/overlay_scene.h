// A QML scene that is rendered off screen, as the overlay element sees it. No Qt in here: a thread
// of its own, one for the process, runs all scenes, and calls only leave requests for it.
#pragma once

#include "overlay_picture.h"

#include <functional>
#include <memory>
#include <string>

namespace sim {

class scene_output;

// Told, on the scene thread, what is wrong with the scene: "file:line: text".
using scene_warning = std::function<void(const std::string& text)>;

class overlay_scene {
public:
    // The first one in a process starts Qt and waits for it, a second at most.
    explicit overlay_scene(scene_warning warning);
    overlay_scene(const overlay_scene&) = delete;
    overlay_scene& operator=(const overlay_scene&) = delete;
    // The scene itself goes a little later, on its own thread.
    ~overlay_scene();

    // Loads the scene file in place of any other; an empty name takes the scene away. One that
    // can't be loaded shows nothing. When the file changes, or another beside it or in a folder
    // beside it, the scene is loaded again and brought to the state that it was in.
    void load(const std::string& file);

    // Hands "object.property:value" to the scene, after what was asked for before. It waits for the
    // first scene; what the scene lacks is left out.
    void set_attribute(const std::string& text);

    // What the scene shows now; none while there is nothing.
    [[nodiscard]] std::shared_ptr<const overlay_picture> picture() const;

private:
    std::shared_ptr<scene_output> output_;
};

} // namespace sim
