// Renders a scene: an off-screen window and the picture it is drawn into. Scene thread only.
#pragma once

#include "overlay_picture.h"

#include <QImage>
#include <QQuickRenderControl>
#include <QQuickWindow>

#include <cstdint>
#include <memory>
#include <span>

namespace sim {

class scene_stage {
public:
    scene_stage();
    scene_stage(const scene_stage&) = delete;
    scene_stage& operator=(const scene_stage&) = delete;
    ~scene_stage();

    // Parent for the scene's root item.
    [[nodiscard]] QQuickItem* floor() { return window_.contentItem(); }

    // Emits renderRequested and sceneChanged when there is something to draw.
    [[nodiscard]] QQuickRenderControl* control() { return control_.get(); }

    // Draws the scene. The pixels are valid until the next call.
    [[nodiscard]] std::span<const std::uint32_t> draw();

    // Call after the scene is destroyed: releases its render resources.
    void clear();

private:
    void frame(bool drawn);

    QImage image_{OVERLAY_WIDTH, OVERLAY_HEIGHT, QImage::Format_ARGB32_Premultiplied};
    std::unique_ptr<QQuickRenderControl> control_ = std::make_unique<QQuickRenderControl>();
    QQuickWindow window_{control_.get()};
};

// Qt's render context keeps a texture for each picture until the picture is released, and loses
// textures of pictures that another scene still shows when that context is destroyed first. So
// stages are reused; there are never more than scenes existed at once.
struct scene_stage_release {
    void operator()(scene_stage* stage) const noexcept;
};
using scene_stage_owned = std::unique_ptr<scene_stage, scene_stage_release>;

// Returns an empty stage.
[[nodiscard]] scene_stage_owned take_scene_stage();

// Call at the end of Qt.
void drop_idle_scene_stages();

} // namespace sim
