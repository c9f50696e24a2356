// Prints every table of the given .mdb files as mdb-reader sees it: one JSON object per line,
// {"file", "table", "types", "columns", "rows"}; a table that it cannot read has "error" instead of rows.
import { readFileSync } from "node:fs";
import MDBReader from "mdb-reader";

// Values that JSON has no form for, each as text of one kind.
function plain(value) {
    if (value === null || value === undefined) return null;
    if (value instanceof Date) return value.toISOString();
    if (value instanceof Uint8Array) return Buffer.from(value).toString("hex").toUpperCase();
    if (typeof value === "bigint") return value.toString();
    return value;
}

for (const file of process.argv.slice(2)) {
    let names;
    try {
        const reader = new MDBReader(readFileSync(file));
        names = reader.getTableNames({ normalTables: true, systemTables: true, linkedTables: false });
    } catch (error) {
        console.log(JSON.stringify({ file, error: String(error) }));
        continue;
    }
    for (const table of names) {
        // It changes its image of the file while it reads some types, so each table gets a fresh one.
        try {
            const source = new MDBReader(readFileSync(file)).getTable(table);
            const columns = source.getColumns();
            const rows = source.getData().map((row) => columns.map((column) => plain(row[column.name])));
            console.log(JSON.stringify({
                file,
                table,
                columns: columns.map((column) => column.name),
                types: columns.map((column) => column.type),
                rows,
            }));
        } catch (error) {
            console.log(JSON.stringify({ file, table, error: String(error) }));
        }
    }
}
