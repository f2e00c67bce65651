// Prints the nanoseconds of processor time that DuckDB's jaro_winkler_similarity takes a comparison, on one thread: a
// line for each of five runs over the names of the census, a part of them against all.
//
//   node duckdb_comparison.mjs FOLDER-WITH-NODE-MODULES FOLDER-WITH-NAMES
import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';
import { join, resolve } from 'node:path';

const [packages, folder] = process.argv.slice(2).map((path) => resolve(path));
const { DuckDBInstance } = createRequire(join(packages, 'index.js'))('@duckdb/node-api');

const names = new Set();
for (const list of ['surnames', 'male_firstnames', 'female_firstnames']) {
  const rows = readFileSync(join(folder, `census1990_common_${list}.csv`), 'utf8').split('\n');
  for (const row of rows.slice(1)) if (row) names.add(row.split(',')[0]);
}

const connection = await (await DuckDBInstance.create(':memory:')).connect();
const values = [...names].map((name, n) => `(${n}, '${name.replaceAll("'", "''")}')`);
await connection.run('SET threads = 1');
await connection.run(`CREATE TABLE names AS SELECT * FROM (VALUES ${values}) AS v(number, name)`);
const question = 'SELECT sum(jaro_winkler_similarity(a.name, b.name)) FROM names a, names b ' +
  'WHERE a.number % 16 = 0';
const comparisons = Math.ceil(names.size / 16) * names.size;
for (let run = -1; run < 5; ++run) {
  const before = process.cpuUsage();
  await connection.runAndReadAll(question);
  const { user, system } = process.cpuUsage(before);
  if (run >= 0) console.log((1000 * (user + system)) / comparisons);
}
