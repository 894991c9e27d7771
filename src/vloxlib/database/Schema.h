#ifndef VLOXLIB_DATABASE_SCHEMA_H
#define VLOXLIB_DATABASE_SCHEMA_H

namespace vloxlib {

struct TableDefinition {
    const char* name;
    const char* createSql;
};

// The eleven tables of a store's file. The texts are the file format: SQLite keeps them as they are written
// here.
extern const TableDefinition storeTables[11];
constexpr const char* kFirstTable =
    "table_call_detail_record";  // they are created in the order of their names

// The mark of the file tables' layout: the one row of the key and value table that is the store's own.
constexpr const char* kVersionKey = "custom_version";
constexpr const char* kVersion = "3.0.x";

}  // namespace vloxlib

#endif
