// Points of what vrn_export writes and of what servers answer, in one form: arrays of texts that
// are equal where the points are. A point is [name, labels, field or "", value, time].
//
// points.mjs EXPECTED FILE READ FILE: compares two files; EXPECTED and READ name their forms.
import { readFileSync } from "node:fs";

// `labels`: pairs; values as numbers unless they are told to be texts or whole.
const point = (name, labels, field, value, time) =>
  JSON.stringify([name, [...labels].sort(), field, value, time]);

const number = (text) => {
  const special = { "+Inf": Infinity, "-Inf": -Infinity, NaN };
  const value = text in special ? special[text] : Number(text);
  // JSON has neither infinities nor a negative zero, and 0 is 0 to servers.
  return String(value === 0 ? 0 : value);
};

// Splits at `separator` where no backslash stands before it, nor a quote around it.
function split(text, separator, quotes = false) {
  const parts = [""];
  let quoted = false;
  for (let i = 0; i < text.length; ++i) {
    if (text[i] === "\\" && i + 1 < text.length) {
      parts[parts.length - 1] += text[i] + text[++i];
      continue;
    }
    if (quotes && text[i] === '"') quoted = !quoted;
    if (text[i] === separator && !quoted) parts.push("");
    else parts[parts.length - 1] += text[i];
  }
  return parts;
}

// A line of the line protocol; anything odd is an error.
function parseLine(line) {
  const [key, ...rest] = split(line, " ");
  const time = rest.pop();
  const fields = rest.join(" ");
  if (!/^\d+$/.test(time) || fields === "") throw new Error(`no line: ${line}`);
  const plain = (text) => {
    if (text === "" || /\\(?![ ,=])/.test(text)) throw new Error(`no name: ${text} in ${line}`);
    return text.replace(/\\(.)/g, "$1");
  };
  const pair = (text) => {
    const [name, value, ...more] = split(text, "=", true);
    if (more.length > 0) throw new Error(`no pair: ${text} in ${line}`);
    return [plain(name), value];
  };
  const [measurement, ...tags] = split(key, ",");
  return {
    measurement: plain(measurement),
    tags: tags.map(pair).map(([name, value]) => [name, plain(value)]),
    fields: split(fields, ",", true).map(pair),
    time,
  };
}

function fieldValue(text) {
  if (text.startsWith('"')) return ["text", text.slice(1, -1).replace(/\\(["\\])/g, "$1")];
  if (text.endsWith("i")) return ["number", text.slice(0, -1)];
  return ["number", number(text)];
}

const linesOf = (text) => text.split("\n").filter((line) => line !== "");

const readers = {
  // As InfluxDB keeps them: one value for a field of a series at a time.
  lines(text) {
    const points = new Map();
    for (const line of linesOf(text)) {
      const { measurement, tags, fields, time } = parseLine(line);
      for (const [name, value] of fields) {
        const place = point(measurement, tags, name, "", BigInt(time).toString());
        points.set(place, [measurement, tags, name, fieldValue(value), BigInt(time).toString()]);
      }
    }
    return [...points.values()].map((parts) => point(...parts));
  },

  // Numbers stay texts: many are larger than JavaScript's. Floats differ in their notation only.
  influxdb(text) {
    const quoted = text.replace(/"(?:[^"\\]|\\.)*"|-?\d[-+.\deE]*/g, (token) =>
      token.startsWith('"') ? token : `{"digits":"${token}"}`,
    );
    const points = [];
    for (const series of JSON.parse(quoted).results.flatMap((result) => result.series)) {
      const tags = Object.entries(series.tags ?? {}).filter(([, value]) => value !== "");
      for (const values of series.values) {
        for (const [i, column] of series.columns.entries()) {
          if (column === "time" || values[i] === null) continue;
          const { digits } = values[i];
          const isWhole = /^-?[1-9]\d*$/.test(digits) && Math.abs(digits) < 2 ** 63;
          const value = digits === undefined
            ? ["text", values[i]]
            : ["number", isWhole ? digits : number(digits)];
          points.push(point(series.name, tags, column, value, values[0].digits));
        }
      }
    }
    return points;
  },

  // As VictoriaMetrics keeps lines: a series for each field, milliseconds, and 0 for a
  // text that is no number.
  "lines-as-series"(text) {
    return linesOf(text).flatMap((line) => {
      const { measurement, tags, fields, time } = parseLine(line);
      return fields.map(([name, value]) => {
        const [kind, content] = fieldValue(value);
        const series = `${measurement}_${name}`;
        const isNumber = kind === "number" || /^\d+(\.\d+)?$/.test(content);
        return point(series, tags, "", isNumber ? number(content) : "0", Number(BigInt(time) / 1000000n));
      });
    });
  },

  "victoria-metrics"(text) {
    return linesOf(text).flatMap((line) => {
      const { metric, values, timestamps } = JSON.parse(line);
      const { __name__: name, ...labels } = metric;
      return values.map((value, i) =>
        point(name, Object.entries(labels), "", number(String(value)), timestamps[i]),
      );
    });
  },

  openmetrics(text) {
    if (!text.endsWith("# EOF\n")) throw new Error("no end");
    const families = new Set();
    return linesOf(text).flatMap((line) => {
      if (line === "# EOF") return [];
      const [, family] = /^# TYPE ([a-zA-Z_]\w*) (?:counter|gauge|histogram)$/.exec(line) ?? [];
      if (family) {
        if (families.has(family)) throw new Error(`a second type: ${line}`);
        families.add(family);
        return [];
      }
      const parts = /^([a-zA-Z_]\w*)(?:\{(.*)\})? (\S+) (\d+\.\d{6})$/s.exec(line);
      if (!parts) throw new Error(`no sample: ${line}`);
      const labels = [...(parts[2] ?? "").matchAll(/(\w+)="((?:[^"\\]|\\.)*)",?/g)];
      const unescape = { n: "\n", '"': '"', "\\": "\\" };
      const pairs = labels.map(([, name, value]) => [
        name,
        value.replace(/\\(.)/g, (_, escaped) => unescape[escaped]),
      ]);
      return [point(parts[1], pairs, "", number(parts[3]), Math.trunc(Number(parts[4]) * 1000))];
    });
  },

  // promtool tsdb dump, which quotes as Go does.
  promtool(text) {
    return linesOf(text).map((line) => {
      const [, labels, value, time] = /^\{(.*)\} (\S+) (\d+)$/.exec(line);
      const pairs = [...labels.matchAll(/(\w+)=("(?:[^"\\]|\\.)*")/g)].map(([, name, quoted]) => [
        name,
        JSON.parse(
          quoted.replace(/\\(x..|U.{8}|.)/g, (escaped, code) => {
            if (code[0] === "x") return `\\u00${code.slice(1)}`;
            if (code[0] === "U") return String.fromCodePoint(parseInt(code.slice(1), 16));
            return { a: "\\u0007", v: "\\u000b" }[code] ?? escaped;
          }),
        ),
      ]);
      const name = pairs.find(([label]) => label === "__name__")[1];
      const own = pairs.filter(([label]) => label !== "__name__");
      return point(name, own, "", number(value), Number(time));
    });
  },
};

const [expectedForm, expectedFile, readForm, readFile] = process.argv.slice(2);
const expected = readers[expectedForm](readFileSync(expectedFile, "utf8")).sort();
const read = readers[readForm](readFileSync(readFile, "utf8")).sort();
const i = expected.findIndex((text, index) => text !== read[index]);
if (i >= 0 || expected.length !== read.length || read.length === 0) {
  console.error(`${expected.length} values expected, ${read.length} read; the first that differ:`);
  console.error(` ${expected[i]}\n ${read[i < 0 ? expected.length : i]}`);
  process.exit(1);
}
console.log(`${read.length} values equal in ${readForm}`);
