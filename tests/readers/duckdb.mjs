// Runs a query about a file with DuckDB, as "$1" in it, and prints its rows as JSON.
//
// usage: node duckdb.mjs FILE QUERY, with DUCKDB_MODULES naming the folder of the npm package
import { createRequire } from "node:module";

const { DuckDBInstance } = createRequire(`${process.env.DUCKDB_MODULES}/`)("@duckdb/node-api");
const [file, query] = process.argv.slice(2);
const connection = await (await DuckDBInstance.create(":memory:")).connect();
const rows = await connection.runAndReadAll(query.replace("$1", `'${file.replaceAll("'", "''")}'`));
// JSON has a negative zero, but stringify() does not write it.
const with_zeros = (_, value) => (Object.is(value, -0) ? "-0" : value);
console.log(JSON.stringify(rows.getRowObjectsJson(), with_zeros));
