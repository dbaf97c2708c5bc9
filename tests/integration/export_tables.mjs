// What consumers of tables read in the CSV files and the ndjson that vrn_export wrote of one
// archive: export_tables.mjs NDJSON CSV_FOLDER WORK. The records of ndjson, read here with all
// digits of their numbers, are what each consumer must have. Ends with status 1 at a difference.
import { execFileSync } from "node:child_process";
import { copyFileSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { isDeepStrictEqual } from "node:util";

const [ndjson, csvFolder, work] = process.argv.slice(2);
let failures = 0;

function fail(text) {
  console.log(text);
  ++failures;
}

function run(program, args) {
  return execFileSync(program, args, { encoding: "utf8", maxBuffer: 1 << 30 });
}

function has(program) {
  try {
    run(program, ["--version"]);
    return true;
  } catch {
    console.log(`skipped: ${program} is not installed`);
    return false;
  }
}

async function openDuckDB() {
  try {
    const { DuckDBInstance } = await import("@duckdb/node-api");
    return await (await DuckDBInstance.create(":memory:")).connect();
  } catch {
    console.log("skipped: @duckdb/node-api is not installed");
    return null;
  }
}

// Numbers become texts, which keeps all of their digits.
const exact = (line) =>
  JSON.parse(line.replace(/("(?:[^"\\]|\\.)*")|(-?\d[\d.eE+-]*)/g, (all, text) => text ?? `"${all}"`));

const lines = readFileSync(ndjson, "utf8").split("\n").slice(0, -1);

// The columns of a record that aren't empty.
function columns(record) {
  const row = new Map();
  const add = (name, value) => {
    if (value !== null && typeof value === "object")
      {for (const [key, inner] of Object.entries(value)) add(`${name}.${key}`, inner);}
    else if (value !== null && value !== "") row.set(name, value);
  };
  for (const [name, value] of Object.entries(record)) {
    if (name === "type") continue;
    const isJson = { metrics: ["labels"], histograms: ["labels", "buckets"] }[record.type];
    if (isJson?.includes(name)) row.set(name, JSON.stringify(value).replace(/[^ -~]/g, "?"));
    // A column needs no other name than the record for its type.
    else add(name === "type_" ? "type" : name, value);
  }
  return JSON.stringify([...row].sort());
}

const expected = new Map();
for (const line of lines) {
  const record = exact(line);
  if (!expected.has(record.type)) expected.set(record.type, []);
  expected.get(record.type).push(columns(record));
}

// Rows of texts.
function parseCsv(text) {
  const rows = [[""]];
  let isQuoted = false;
  for (let i = 0; i < text.length; ++i) {
    const row = rows[rows.length - 1];
    if (text[i] === '"' && isQuoted && text[i + 1] === '"') row[row.length - 1] += text[++i];
    else if (text[i] === '"') isQuoted = !isQuoted;
    else if (!isQuoted && text[i] === ",") row.push("");
    else if (!isQuoted && text[i] === "\n") rows.push([""]);
    else if (isQuoted || text[i] !== "\r") row[row.length - 1] += text[i];
  }
  return rows.slice(0, -1);
}

// A row of texts, as columns() has it.
function tableColumns(names, row, type) {
  const json = { metrics: ["labels"], histograms: ["labels", "buckets"] }[type] ?? [];
  if (names.length !== row.length) fail(`${type}: ${row.length} of ${names.length} columns`);
  return JSON.stringify(
    names
      .map((name, i) => [name, row[i] ?? ""])
      .filter(([, value]) => value !== "")
      .map(([name, value]) =>
        json.includes(name)
          ? [name, JSON.stringify(exact(value)).replace(/[^ -~]/g, "?")]
          : [name, value],
      )
      .sort(),
  );
}

// Rows with columns that no header named have a table of their own: "type-1234abcd".
function typeOf(file) {
  const table = decodeURIComponent(file.replace(/\.csv$/, ""));
  return expected.has(table) ? table : table.replace(/-[0-9a-f]{8}$/, "");
}

async function checkTables(consumer, read, form = (row) => row) {
  const found = new Map();
  for (const file of readdirSync(csvFolder).filter((name) => name.endsWith(".csv"))) {
    const type = typeOf(file);
    const path = join(csvFolder, file);
    // Consumers change names that are empty, or differ in case alone: columns are told by place.
    const [names] = parseCsv(readFileSync(path, "utf8"));
    const rows = (await read(path, names)).map((row) => tableColumns(names, row, type));
    found.set(type, (found.get(type) ?? []).concat(rows));
  }
  let count = 0;
  for (const [type, rows] of found) {
    const wanted = (expected.get(type) ?? []).map(form).sort();
    rows.sort();
    const at = wanted.findIndex((row, i) => row !== rows[i]);
    if (rows.length !== wanted.length || at >= 0)
      {fail(`${consumer}, ${type}: ${rows.length} of ${wanted.length} rows\n${rows[at]}\n${wanted[at]}`);}
    count += rows.length;
  }
  if (count !== lines.length) fail(`${consumer}: ${count} of ${lines.length} rows`);
  console.log(`${consumer}: ${count} rows of ${found.size} tables`);
}

function checkJq() {
  const records = run("jq", ["-c", ".", ndjson]).split("\n").slice(0, -1);
  const at = lines.findIndex((line, i) => !isDeepStrictEqual(JSON.parse(line), JSON.parse(records[i])));
  if (at >= 0 || records.length !== lines.length)
    {fail(`jq: ${records.length} of ${lines.length} records\n${lines[at]}\n${records[at]}`);}
  console.log(`jq: ${records.length} records`);
}

// Scalars of the records of one type, in the types that DuckDB finds for them.
async function checkDuckDBJson(duckdb) {
  const byType = new Map();
  for (const line of lines) {
    const type = JSON.parse(line).type;
    byType.set(type, [...(byType.get(type) ?? []), line]);
  }
  let number = 0;
  let values = 0;
  for (const [type, own] of byType) {
    const file = join(work, `type-${++number}.ndjson`);
    writeFileSync(file, own.join("\n") + "\n");
    const reader = await duckdb.runAndReadAll(
      `SELECT CAST(COLUMNS(*) AS VARCHAR) FROM read_json('${file}', format='newline_delimited',
       sample_size=-1, maximum_depth=2, field_appearance_threshold=0,
       maximum_object_size=100000000, convert_strings_to_integers=false)`,
    );
    const rows = reader.getRowObjects();
    if (rows.length !== own.length) fail(`DuckDB, ${type}: ${rows.length} of ${own.length} records`);
    rows.forEach((row, i) => {
      for (const [name, value] of Object.entries(exact(own[i]))) {
        // Names without a letter, or that differ in case alone, become others.
        if (value === null || typeof value === "object" || !(name in row)) continue;
        // Where a column has integers and others, all are doubles.
        const isWhole = /^-?\d+$/.test(row[name]) && /^-?\d+$/.test(value);
        const isSame =
          row[name] === value ||
          row[name] === JSON.stringify(value) ||
          (!isWhole && Number(row[name]) === Number(value));
        if (!isSame) fail(`DuckDB, ${type}.${name}: ${row[name]} for ${value}`);
        ++values;
      }
    });
  }
  console.log(`DuckDB: ${lines.length} records of ${byType.size} types, ${values} values`);
}

mkdirSync(work, { recursive: true });
const duckdb = await openDuckDB();
if (has("jq")) checkJq();
if (duckdb) {
  await checkDuckDBJson(duckdb);
  await checkTables("DuckDB", async (file) => {
    const reader = await duckdb.runAndReadAll(
      `FROM read_csv('${file.replaceAll("'", "''")}', header=true, all_varchar=true, delim=',',
       quote='"', escape='"', new_line='\\r\\n', max_line_size=100000000)`,
    );
    return reader.getRows();
  });
}
if (has("sqlite3"))
  {await checkTables("sqlite3", (file, names) => {
    const list = names.map((_, i) => `c${i}`).join();
    copyFileSync(file, join(work, "table.csv"));
    const commands = [`CREATE TABLE t(${list})`, `.import --csv --skip 1 ${work}/table.csv t`];
    const text = run("sqlite3", ["-json", ":memory:", ...commands, "SELECT * FROM t"]);
    return JSON.parse(text || "[]").map((row) => Object.values(row));
  });}
if (has("mlr"))
  {await checkTables("Miller", (file) =>
    parseCsv(run("mlr", ["--csv", "-S", "--implicit-csv-header", "cat", file])).slice(2),
    // Line ends within texts lose their carriage returns.
    (row) => row.replaceAll("\\r\\n", "\\n"),
  );}
process.exit(failures > 0 ? 1 : 0);
