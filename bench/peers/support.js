// What the programs of Node.js share: arguments, sizes of the process, and the measured reading.
"use strict";

const fs = require("fs");

function parseArguments(words) {
  const parsed = { threads: 1, axes: {}, files: [] };
  for (let index = 0; index < words.length; ++index) {
    if (words[index] === "--threads") {
      parsed.threads = Number(words[++index]);
    } else if (words[index].startsWith("--")) {
      parsed.axes[words[index].slice(2)] = words[++index];
    } else {
      parsed.files.push(words[index]);
    }
  }
  return parsed;
}

/// A size of this process in bytes: VmRSS, RssAnon, VmHWM.
function status(key) {
  const line = fs.readFileSync("/proc/self/status", "ascii").split("\n").find((text) => text.startsWith(key + ":"));
  return Number(line.split(/\s+/)[1]) * 1024;
}

/// Reads all files, measured, then adds up their tables: the one that is kept, or each file read anew.
/// `read` gives a table, `add` its rows and one sum an axis, in the order of `axes`.
async function measure({ axes, files }, read, add) {
  const before = status("RssAnon");
  const wall = process.hrtime.bigint();
  const cpu = process.cpuUsage();
  let table;
  for (const file of files) {
    table = await read(file);
  }
  const used = process.cpuUsage(cpu);
  const result = {
    cpu_s: (used.user + used.system) / 1e6,
    wall_s: Number(process.hrtime.bigint() - wall) / 1e9,
    resident_after_bytes: status("VmRSS"),
    kept_bytes: status("RssAnon") - before,
    peak_bytes: status("VmHWM"),
    rows: 0,
  };
  for (const file of files) {
    if (files.length > 1) {
      table = await read(file);
    }
    const { rows, sums } = await add(table, Object.values(axes));
    result.rows += rows;
    Object.keys(axes).forEach((axis, index) => {
      result["sum_" + axis] = (result["sum_" + axis] || 0) + sums[index];
    });
  }
  console.log(JSON.stringify(result));
}

module.exports = { parseArguments, measure };
