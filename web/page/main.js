// Starts the parts of the page.
import { startAim } from './aim.js';
import { startBoard } from './board.js';
import { startButtons } from './buttons.js';
import { startConsole } from './console.js';
import { startControls } from './controls.js';
import { startDaemonButtons } from './daemon.js';
import { startDrop } from './drop.js';
import { startIndicators } from './indicators.js';
import { startKeys } from './keys.js';
import { startLog } from './log.js';
import { startMedia } from './media.js';
import { startPicture } from './panel.js';
import { startPresence } from './presence.js';
import { ServerConnection } from './server_connection.js';
import { startSettings } from './settings.js';
import { startTranscript } from './transcript.js';
import { startTrouble } from './trouble.js';

// The cookie authorises the page from here on: keep the token out of sight and bookmarks.
history.replaceState(null, '', location.pathname + location.hash);

const server = new ServerConnection();
startPresence(server);
startDaemonButtons(server);
startPicture(server);
startAim(server);
startButtons(server);
startIndicators(server);
startControls(server);
startSettings(server);
startBoard(server);
startTranscript(server);
startConsole(server);
startMedia(server);
startLog(server);
startDrop(server);
startKeys();
startTrouble();
server.open();
