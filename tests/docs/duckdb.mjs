// Stands for DuckDB's shell, which Debian lacks: duckdb.mjs [-unsigned] -c QUERIES runs them by the
// engine that npm brings, and prints rows as JSON.
import { DuckDBInstance } from '@duckdb/node-api';

const options = process.argv.includes('-unsigned') ? { allow_unsigned_extensions: 'true' } : {};
const instance = await DuckDBInstance.create(':memory:', options);
const connection = await instance.connect();
const queries = process.argv[process.argv.indexOf('-c') + 1].split(';').filter((text) => text.trim());
for (const query of queries) {
    const answer = await connection.runAndReadAll(query);
    for (const row of answer.getRowsJson()) console.log(JSON.stringify(row));
}
