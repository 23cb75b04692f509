// Renders scenes, and keeps idle stages for later scenes.
#include "scene_stage.h"

#include <QQuickItem>
#include <QQuickRenderTarget>

#include <vector>

namespace sim {
namespace {

// Leaked: no Qt object is destroyed during exit.
std::vector<std::unique_ptr<scene_stage>>& idle_stages() {
    static auto* const stages = new std::vector<std::unique_ptr<scene_stage>>;
    return *stages;
}

} // namespace

scene_stage::scene_stage() {
    window_.setColor(Qt::transparent);
    window_.setGeometry(0, 0, OVERLAY_WIDTH, OVERLAY_HEIGHT);
    window_.contentItem()->setSize(QSizeF(OVERLAY_WIDTH, OVERLAY_HEIGHT));
    window_.setRenderTarget(QQuickRenderTarget::fromPaintDevice(&image_));
    image_.fill(Qt::transparent);
}

// Qt Quick requires the control to be destroyed before its window.
scene_stage::~scene_stage() {
    control_.reset();
}

void scene_stage::frame(bool drawn) {
    control_->polishItems();
    control_->beginFrame();
    control_->sync();
    if (drawn) {
        control_->render();
    }
    control_->endFrame();
}

std::span<const std::uint32_t> scene_stage::draw() {
    frame(true);
    return {reinterpret_cast<const std::uint32_t*>(image_.constBits()), OVERLAY_PIXELS};
}

// The first frame releases the items' nodes, the second the textures of pictures, which Qt would
// otherwise cache by name for half a minute.
void scene_stage::clear() {
    frame(false);
    window_.releaseResources();
    frame(false);
    image_.fill(Qt::transparent); // changes are drawn over the existing content
}

void scene_stage_release::operator()(scene_stage* stage) const noexcept {
    stage->clear();
    idle_stages().emplace_back(stage);
}

scene_stage_owned take_scene_stage() {
    std::vector<std::unique_ptr<scene_stage>>& idle = idle_stages();
    if (idle.empty()) {
        return scene_stage_owned{new scene_stage};
    }
    scene_stage_owned stage{idle.back().release()};
    idle.pop_back();
    return stage;
}

void drop_idle_scene_stages() {
    idle_stages().clear();
}

} // namespace sim
