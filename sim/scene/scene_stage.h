// What renders scenes: a window off screen and the picture that it is drawn into. Scene thread
// only.
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

    // The parent for the scene's root.
    [[nodiscard]] QQuickItem* floor() { return window_.contentItem(); }

    // Says with renderRequested and sceneChanged that there is something to draw.
    [[nodiscard]] QQuickRenderControl* control() { return control_.get(); }

    // Draws what is on the stage; the pixels are valid until the next call.
    [[nodiscard]] std::span<const std::uint32_t> draw();

    // Once the scene is gone: releases what was drawn for it.
    void clear();

private:
    void frame(bool drawn);

    QImage image_{OVERLAY_WIDTH, OVERLAY_HEIGHT, QImage::Format_ARGB32_Premultiplied};
    std::unique_ptr<QQuickRenderControl> control_ = std::make_unique<QQuickRenderControl>();
    QQuickWindow window_{control_.get()};
};

// Qt's render context keeps a texture of each picture until that picture goes, and loses those of
// pictures that another scene still shows when it goes first. So stages are used again, and there
// are never more of them than scenes lived at once.
struct scene_stage_release {
    void operator()(scene_stage* stage) const noexcept;
};
using scene_stage_owned = std::unique_ptr<scene_stage, scene_stage_release>;

// An empty stage.
[[nodiscard]] scene_stage_owned take_scene_stage();

// For the end of Qt.
void drop_idle_scene_stages();

} // namespace sim
