// Reads the files into a table of DuckDB and prints what that took as one line of JSON.
// node duckdb.js --version | --threads N --x NAME --y NAME [--z NAME] FILE...
"use strict";

const { DuckDBInstance, version } = require("@duckdb/node-api");
const { parseArguments, measure } = require("./support.js");

async function main() {
  if (process.argv[2] === "--version") {
    console.log(`${version()}, Node.js ${process.versions.node}`);
    return;
  }
  const request = parseArguments(process.argv.slice(2));
  const instance = await DuckDBInstance.create(":memory:", { threads: String(request.threads) });
  const connection = await instance.connect();
  const read = (file) =>
    connection.run(`CREATE OR REPLACE TABLE points AS SELECT * FROM read_csv('${file.replaceAll("'", "''")}')`);
  const add = async (table, names) => {
    const sums = names.map((name) => `sum("${name}")`);
    const answer = await connection.runAndReadAll(`SELECT ${["count(*)", ...sums].join(", ")} FROM points`);
    const [rows, ...values] = answer.getRows()[0];
    return { rows: Number(rows), sums: values };
  };
  await measure(request, read, add);
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
