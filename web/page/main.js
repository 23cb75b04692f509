// Starts the parts of the page.
import { startBoard } from './board.js';
import { startConsole } from './console.js';
import { startControls } from './controls.js';
import { startDrop } from './drop.js';
import { startLamps } from './lamps.js';
import { Link } from './link.js';
import { startLog } from './log.js';
import { startMedia } from './files.js';
import { startPicture } from './panel.js';
import { startPresence } from './presence.js';
import { startButtons } from './buttons.js';
import { startKeys } from './keys.js';
import { startTranscript } from './transcript.js';

const link = new Link();
startPresence(link);
startPicture(link);
startButtons(link);
startLamps(link);
startControls(link);
startBoard(link);
startTranscript(link);
startConsole(link);
startMedia(link);
startLog(link);
startDrop(link);
startKeys();
link.open();
