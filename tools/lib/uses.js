'use strict';

const fs = require('node:fs');
const path = require('node:path');

const counter = path.join(__dirname, 'use_counter.js');

/**
 * Notes which test uses which method and event, see use_counter.js.
 *
 * @param {string} buildFolder
 * @returns {{env: NodeJS.ProcessEnv, read: () => Map<string, Set<string>>}} the environment for the
 *   tests; what was noted so far: "kind name" -> tests, "file: test"
 */
function countUses(buildFolder) {
  const file = path.join(buildFolder, 'test-results', 'uses.jsonl');
  fs.mkdirSync(path.dirname(file), { recursive: true });
  fs.writeFileSync(file, '');
  const env = { LUMO_USES: file, NODE_OPTIONS: `--require ${JSON.stringify(counter)}` };
  const read = () => {
    const uses = new Map();
    for (const line of fs.readFileSync(file, 'utf8').split('\n').filter(Boolean)) {
      const [kind, name, test] = JSON.parse(line);
      const key = `${kind} ${name}`;
      uses.set(key, (uses.get(key) ?? new Set()).add(test));
    }
    return uses;
  };
  return { env, read };
}

module.exports = { countUses };
