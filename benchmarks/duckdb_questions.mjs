// Answers each line of its input, a statement for DuckDB, with a line: the milliseconds that it
// took, those of processor time, then the values of the first row, by tabs.
//
//   node duckdb_questions.mjs FOLDER-WITH-NODE-MODULES
import { createRequire } from 'node:module';
import { createInterface } from 'node:readline';
import { join, resolve } from 'node:path';

const packages = resolve(process.argv[2]);
const { DuckDBInstance } = createRequire(join(packages, 'index.js'))('@duckdb/node-api');

const connection = await (await DuckDBInstance.create(':memory:')).connect();
for await (const statement of createInterface({ input: process.stdin })) {
  const before = process.cpuUsage();
  const start = process.hrtime.bigint();
  const reader = await connection.runAndReadAll(statement);
  const cost = Number(process.hrtime.bigint() - start) / 1e6;
  const { user, system } = process.cpuUsage(before);
  console.log([cost, (user + system) / 1e3, ...(reader.getRows()[0] ?? [])].join('\t'));
}
