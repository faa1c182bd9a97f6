// Reads the files into a data frame of Polars and prints what that took as one line of JSON.
// POLARS_MAX_THREADS=N node polars.js --version | --x NAME --y NAME [--z NAME] FILE...
"use strict";

const polars = require("nodejs-polars");
const { parseArguments, measure } = require("./support.js");

async function main() {
  if (process.argv[2] === "--version") {
    const { version } = require("nodejs-polars/package.json");
    console.log(`${version}, Node.js ${process.versions.node}`);
    return;
  }
  const read = (file) => polars.readCSV(file);
  const add = (table, names) => ({ rows: table.height, sums: names.map((name) => table.getColumn(name).sum()) });
  await measure(parseArguments(process.argv.slice(2)), read, add);
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
