// Drag and drop: a video becomes the camera's input, a .qml file the on-screen display.
import { byId } from './dom.js';
import { refuseFile, sendFootage, sendScene } from './upload.js';

const VIDEO_NAME = /\.(avi|mkv|mp4|m4v|mov|mpe?g|ts|webm|wmv|ogv|3gp|y4m)$/i;

const holdsFiles = (event) => event.dataTransfer?.types.includes('Files') === true;

function take(server, file) {
    if (server.presence !== 'there') {
        refuseFile(server, file, 'this page’s server is not running');
    } else if (/\.qml$/i.test(file.name)) {
        sendScene(server, file);
    } else if (file.type.startsWith('video/') || VIDEO_NAME.test(file.name)) {
        sendFootage(server, file);
    } else {
        refuseFile(server, file, 'is neither a video nor a .qml file');
    }
}

export function startDrop(server) {
    const veil = byId('drop');
    // The next element's enter event comes before the previous one's leave event, so count them.
    let depth = 0;
    const show = (now) => {
        depth = now;
        veil.hidden = depth === 0;
    };
    addEventListener('dragenter', (event) => holdsFiles(event) && show(depth + 1));
    addEventListener('dragleave', (event) => holdsFiles(event) && show(Math.max(0, depth - 1)));
    addEventListener('dragover', (event) => holdsFiles(event) && event.preventDefault());
    addEventListener('drop', (event) => {
        if (holdsFiles(event)) {
            event.preventDefault();
            show(0);
            [...event.dataTransfer.files].forEach((file) => take(server, file));
        }
    });
}
