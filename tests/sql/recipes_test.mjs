// Each statement of docs/sql.md, over files of the collector.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

import { attempt, jsonLines, run, tempFolder } from './engine.mjs';

const page = readFileSync(new URL('../../docs/sql.md', import.meta.url), 'utf8');
const recipes = [...page.matchAll(/\n([^\n]+):\n\n```sql\n([^`]+)```/g)];
const folder = tempFolder();
run('vrn_collect', '--output-dir', folder, '--duration', '600');

for (const [, title, statements] of recipes) {
    test(title, () => {
        const done = attempt('vrn_sql', ['-f', 'json', statements, folder]);
        assert.equal(done.stderr, '');
        assert.equal(done.status, 0);
        // What grew, and what is damaged, may be nothing; no histograms are collected.
        const mayBeEmpty = /grew|histograms/.test(title);
        assert.ok(mayBeEmpty || jsonLines(done.stdout).length > 0);
    });
}

test('all recipes were found', () => assert.ok(recipes.length >= 8));
