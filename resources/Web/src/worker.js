// Entry point of the conversion Worker's bundle (build.mjs): its source is
// bundled into mv.js and started from a Blob URL (main.js).
import { serveConversions } from './conversions.js';

serveConversions(self);
