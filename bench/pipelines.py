"""The daemon's pipes as single pipelines for gst-launch-1.0: the same elements, no daemon."""

PANEL_CAPS = "video/x-raw,width=1024,height=768,framerate=30/1,format=RGBA"
ENCODER_CAPS = "video/x-raw,width=1024,height=768,framerate=30/1,format=NV12"


def quoted(text):
    """Quotes a property's text for gst-launch."""
    escaped = text.replace("\\", "\\\\").replace('"', '\\"')
    return f'"{escaped}"'


def overlay(board, attributes):
    """The overlay, with the daemon's updates, so that it draws the same."""
    words = f"queue leaky=2 ! qtoverlay qml={board.at('opt/okr/osd_okr/qml/main.qml')}".split()
    words += [f"qml-attribute={quoted(text)}" for text in attributes]
    return words + ["!", "queue", "leaky=2", "!"]


def panel(board):
    return (f"imxipuvideosink sync=false async=false use-vsync=true"
            f" framebuffer={board.at('dev/fb0')}").split()


def transform():
    return f"imxg2dvideotransform ! capsfilter caps={PANEL_CAPS} !".split()


def camera(board, attributes):
    source = f"imxv4l2videosrc device={board.at('dev/video0')} imx-capture-mode=0 queue-size=10 !"
    return source.split() + transform() + overlay(board, attributes)


def live(board, attributes):
    return camera(board, attributes) + panel(board)


def splash(board, attributes):
    source = f"filesrc location={board.at('etc/no-video-input.png')} ! pngdec ! imagefreeze !"
    return source.split() + transform() + overlay(board, attributes) + ["perf", "!"] + panel(board)


def teed(board, attributes):
    """The live view with a branch in the encoders' format; append an encoder."""
    tee = ["tee", "name=view", "view.", "!"]
    branch = (f" view. ! queue leaky=2 ! imxipuvideotransform ! capsfilter caps={ENCODER_CAPS} !")
    return camera(board, attributes) + tee + panel(board) + branch.split()


def microphone():
    return ("alsasrc device=hw:0,0 ! audioamplify amplification=50 ! imxmp3audioenc bitrate=96"
            " ! mpegaudioparse ! queue !").split()


def record(board, attributes):
    encoder = ("queue leaky=2 max-size-buffers=5"
               " ! imxvpuenc_h264 bitrate=1024 gop-size=15 me-search-range=3 ! h264parse"
               " ! capsfilter caps=video/x-h264,stream-format=avc ! file.video"
               f" splitmuxsink name=file max-size-time={300 * 10**9}"
               f" location={board.at('media/video/baseline_%02d.mp4')}")
    return teed(board, attributes) + encoder.split() + microphone() + ["file.audio_0"]


def stream(board, attributes, port):
    encoder = ("imxvpuenc_h264 bitrate=1536 gop-size=1 idr-interval=120 me-search-range=0"
               " ! h264parse ! queue leaky=2 max-size-buffers=1 ! mux."
               f" mpegtsmux name=mux ! tcpserversink host=127.0.0.1 port={port}"
               " buffers-soft-max=63 timeout=2000000000")
    return (teed(board, attributes) + encoder.split() + microphone()
            + "queue leaky=2 max-size-buffers=1 ! mux.".split())
