// A QML scene, rendered off screen by Qt Quick's software renderer.
#include "overlay_scene.h"

#include "attribute_memory.h"
#include "scene_log.h"
#include "scene_stage.h"
#include "scene_thread.h"
#include "scene_watch.h"
#include "sysroot_urls.h"

#include <QDir>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlProperty>
#include <QQuickItem>
#include <QTemporaryFile>
#include <QTimer>

#include <chrono>
#include <future>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace sim {

class rendered_scene;

// Shared by the element and the scene thread; both keep it alive.
class scene_output {
public:
    explicit scene_output(scene_warning warning) : warning_(std::move(warning)) {}

    void show(std::shared_ptr<const overlay_picture> picture) {
        const std::scoped_lock lock(mutex_);
        picture_ = std::move(picture);
    }
    [[nodiscard]] std::shared_ptr<const overlay_picture> picture() const {
        const std::scoped_lock lock(mutex_);
        return picture_;
    }
    void warn(const QString& text) const { warning_(text.toStdString()); }

    // Scene thread only.
    std::unique_ptr<rendered_scene> scene;
    std::unique_ptr<scene_watch> watch;
    std::vector<QString> early_attributes; // updates before the scene exists
    attribute_memory attributes;           // updates of the scene

private:
    mutable std::mutex mutex_;
    std::shared_ptr<const overlay_picture> picture_;
    const scene_warning warning_;
};

namespace {

// Combines changes within a frame's time.
constexpr int FRAME_MS = 33;

// How long the first element waits for Qt; a slower start continues while the pipe runs.
constexpr std::chrono::seconds START_TIMEOUT{1};

// A drawing and a scene that use what scenes typically need, so that Qt loads everything at a time
// of our choice. %1 is the drawing's URL. The scene emits "warm" when its pictures are loaded.
constexpr const char* WARM_UP_DRAWING =
    "<svg xmlns='http://www.w3.org/2000/svg' width='8' height='8'>"
    "<path d='M0 0L8 8' stroke='black'/></svg>";
constexpr const char* WARM_UP_SCENE = R"(
import QtQuick
Item {
    id: root
    signal warm()
    property int loaded: 0
    onLoadedChanged: if (loaded === 3) Qt.callLater(root.warm)
    component Picture: Image {
        sourceSize: Qt.size(16, 16)
        onStatusChanged: if (status === Image.Ready) ++root.loaded
    }
    Rectangle {
        width: 32; height: 32; radius: 4; border.width: 1; opacity: 0.5; rotation: 10; clip: true
        gradient: Gradient { GradientStop { position: 0; color: "red" } }
        NumberAnimation on x { from: 0; to: 1; duration: 1 }
        Behavior on y { NumberAnimation { duration: 1 } }
    }
    Row { Repeater { model: 2; Text { text: "warm"; style: Text.Outline } } }
    Timer { running: true; interval: 1 }
    Picture { source: "%1" }
    Picture { asynchronous: true; cache: false; source: "%1" }
    Picture { id: drawn }
    Component.onCompleted: {
        const request = new XMLHttpRequest()
        request.onreadystatechange = () => {
            if (request.readyState === XMLHttpRequest.DONE)
                drawn.source = "data:image/svg+xml;utf8," + encodeURIComponent(request.responseText)
        }
        request.open("GET", "%1")
        request.send()
    }
}
)";
// Time limit for the warm-up; scenes then load the rest themselves.
constexpr int WARM_UP_MS = 2000;

} // namespace

// A loaded scene; scene thread only.
class rendered_scene {
public:
    explicit rendered_scene(scene_output& output) : output_(output) {
        timer_.setSingleShot(true);
        timer_.setInterval(FRAME_MS);
        QObject::connect(&timer_, &QTimer::timeout, [this] { render(); });
        const auto render_soon = [this] {
            if (!timer_.isActive()) {
                timer_.start();
            }
        };
        QQuickRenderControl* const control = stage_->control();
        QObject::connect(control, &QQuickRenderControl::renderRequested, &timer_, render_soon);
        QObject::connect(control, &QQuickRenderControl::sceneChanged, &timer_, render_soon);
        engine_.setOutputWarningsToStandardError(false);
        QObject::connect(&engine_, &QQmlEngine::warnings, [](const QList<QQmlError>& errors) {
            for (const QQmlError& error : errors) {
                say_of_scene(error.toString().toStdString());
            }
        });
        engine_.addUrlInterceptor(&urls_);
        engine_.setNetworkAccessManagerFactory(&files_);
    }

    rendered_scene(const rendered_scene&) = delete;
    rendered_scene& operator=(const rendered_scene&) = delete;

    void load(const QString& file) {
        QQmlComponent component(&engine_, QUrl::fromLocalFile(file));
        create(component);
    }

    // False if there is nothing to render.
    [[nodiscard]] bool is_loaded() const { return qobject_cast<QQuickItem*>(root_.get()); }

    // Runs a scene given as text until it emits its signal "warm".
    void run_text(const QString& text) {
        QQmlComponent component(&engine_);
        component.setData(text.toUtf8(), QUrl(QStringLiteral("file:///warm-up.qml")));
        create(component);
        if (root_) {
            QEventLoop loop;
            QObject::connect(root_.get(), SIGNAL(warm()), &loop, SLOT(quit()));
            QTimer::singleShot(WARM_UP_MS, &loop, &QEventLoop::quit);
            loop.exec();
        }
        render();
    }

    void set_attribute(const QString& text) {
        const qsizetype dot = text.indexOf(u'.');
        const qsizetype colon = text.indexOf(u':', dot + 1);
        if (!root_ || dot < 0 || colon < 0) {
            return;
        }
        const QString property = text.mid(dot + 1, colon - dot - 1);
        QObject* const object = find(text.left(dot));
        if (object == nullptr ||
            !QQmlProperty(object, property, engine_.rootContext()).write(text.mid(colon + 1))) {
            GST_INFO("the scene has no %s", text.left(colon).toUtf8().constData());
        }
    }

    void render() {
        output_.show(std::make_shared<overlay_picture>(stage_->draw()));
        GST_LOG("rendered");
    }

private:
    void create(QQmlComponent& component) {
        root_.reset(component.create());
        for (const QQmlError& error : component.errors()) {
            output_.warn(error.toString());
        }
        if (auto* const item = qobject_cast<QQuickItem*>(root_.get())) {
            item->setParentItem(stage_->floor());
        } else if (root_) {
            output_.warn(component.url().toString() + QStringLiteral(": the scene is no Item"));
        }
    }

    [[nodiscard]] QObject* find(const QString& name) const {
        return root_->objectName() == name ? root_.get() : root_->findChild<QObject*>(name);
    }

    scene_output& output_;
    sysroot_urls urls_;
    sysroot_files files_{urls_};
    // Qt Quick requires this order: items first, then the renderer, the engine last.
    QQmlEngine engine_;
    scene_stage_owned stage_ = take_scene_stage();
    QTimer timer_;
    std::unique_ptr<QObject> root_;
};

namespace {

// Scenes to destroy before Qt ends. Scene thread only; leaked.
std::set<scene_output*>& live_outputs() {
    static auto* const outputs = new std::set<scene_output*>;
    return *outputs;
}

void drop_scene(scene_output& output) {
    output.watch.reset();
    output.scene.reset();
}

void drop_all_scenes() {
    for (scene_output* output : live_outputs()) {
        drop_scene(*output);
    }
    drop_idle_scene_stages();
}

// The previous scene stays visible until this one has the state of `texts`.
void show_scene(scene_output& output, const QString& file, const std::vector<QString>& texts) {
    output.scene.reset();
    output.scene = std::make_unique<rendered_scene>(output);
    output.scene->load(file);
    for (const QString& text : texts) {
        output.scene->set_attribute(text);
    }
    if (output.scene->is_loaded()) {
        output.scene->render();
    } else {
        output.show(nullptr);
    }
    scene_thread_guard_exit();
}

void set_attribute(scene_output& output, const QString& text) {
    if (!output.scene) {
        output.early_attributes.push_back(text);
        return;
    }
    output.attributes.take(text);
    output.scene->set_attribute(text);
}

void load_scene(scene_output& output, const QString& file) {
    live_outputs().insert(&output);
    drop_scene(output);
    output.attributes.clear();
    if (file.isEmpty()) {
        output.show(nullptr);
        return;
    }
    // Watch before reading, so that no change is missed.
    output.watch = std::make_unique<scene_watch>(file, [&output, file] {
        GST_INFO("loading %s again", file.toUtf8().constData());
        show_scene(output, file, output.attributes.texts());
    });
    const std::vector<QString> early = std::exchange(output.early_attributes, {});
    show_scene(output, file, early);
    for (const QString& text : early) {
        output.attributes.take(text);
    }
}

void run_warm_up_scene() {
    scene_output nowhere([](const std::string& text) { GST_WARNING("%s", text.c_str()); });
    rendered_scene scene(nowhere);
    QTemporaryFile drawing(QDir::tempPath() + QStringLiteral("/vtrdc-XXXXXX.svg"));
    if (drawing.open()) {
        drawing.write(WARM_UP_DRAWING);
        drawing.flush();
    }
    const QUrl url = QUrl::fromLocalFile(drawing.fileName());
    scene.run_text(QString::fromUtf8(WARM_UP_SCENE).arg(url.toString()));
}

// Register the guard after the scene's end, which also creates global objects of Qt.
void warm_up() {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    run_warm_up_scene();
    scene_thread_at_end(drop_all_scenes);
    scene_thread_guard_exit();
}

void start_once() {
    static std::once_flag once;
    std::call_once(once, [] {
        scene_thread_start();
        const auto warm = std::make_shared<std::promise<void>>();
        const std::future<void> is_warm = warm->get_future();
        scene_thread_post([warm] {
            warm_up();
            warm->set_value();
        });
        is_warm.wait_for(START_TIMEOUT);
    });
}

} // namespace

overlay_scene::overlay_scene(scene_warning warning)
    : output_(std::make_shared<scene_output>(std::move(warning))) {
    start_once();
}

overlay_scene::~overlay_scene() {
    scene_thread_post([output = std::move(output_)] {
        live_outputs().erase(output.get());
        drop_scene(*output);
    });
}

void overlay_scene::load(const std::string& file) {
    scene_thread_post(
        [output = output_, file] { load_scene(*output, QString::fromStdString(file)); });
}

void overlay_scene::set_attribute(const std::string& text) {
    scene_thread_post(
        [output = output_, text] { sim::set_attribute(*output, QString::fromStdString(text)); });
}

std::shared_ptr<const overlay_picture> overlay_scene::picture() const {
    return output_->picture();
}

} // namespace sim
