// Writes a generated benchmark document: node generate.mjs OUT.md BYTES
import { writeFileSync } from 'node:fs';
import { documentOf } from './document.mjs';

const [out, bytes] = process.argv.slice(2);
writeFileSync(out, documentOf(Number(bytes)));
