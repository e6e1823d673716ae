// A job as an SQLite database: one table a kind, and one each for what chains, profiles and survey
// chains list, which refers to the element's row.
//
//   points, lines, curves, spirals, chains, profiles, survey_chains
//       id, elementName (the name that reads the element), the members of the record
//   members (chain_id, ordinal), vertices (profile_id, ordinal), listed_points (survey_chain_id,
//   ordinal)
//       the members of the record listed; ordinals begin at 1
//   unreadable
//       kind, elementName and reason for each element that could not be read, which has a row
//       without members in the table of its kind; for a kind that could not be counted without name
//
// Views join them: chain_members, profile_vertices and survey_chain_points have the columns of the
// CSV files of that name; chain_points, chain_curves, chain_spirals and line_points those of the
// records that chains and lines carry. With some kinds left out, their tables and views are too.
//
// The database grows in a temporary file, in one transaction.
//
// For tools/export/. A build without SQLite's library has sqlite_format_absent.cpp.
#pragma once

#include "tools/export/output.h"
#include "tools/export/record_tables.h"

#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

struct SqliteFormat {
    ExportOutput output;
    NewFile scratch; // the database
    sqlite3* database;
    sqlite3_stmt* rows[RECORD_TABLES]; // that add a row, of the kinds begun
    sqlite3_stmt* unreadable;          // likewise
    int64_t id;                        // of the kind's last row
    std::string fault;                 // of the database, the first one
};

// False in a build without SQLite, where nothing else of this is to be called.
bool hasSqlite();

void beginSqlite(SqliteFormat* sqlite, std::FILE* stream, const std::string& path);
void beginKindSqlite(SqliteFormat* sqlite, uint32_t kind);

// Expects null for a name that is not known or an element that cannot be read.
void addElementSqlite(SqliteFormat* sqlite, uint32_t kind, const std::string* name,
                      const void* element);

// Notes why an element cannot be read, or, without a name, why a kind cannot be counted.
void addUnreadableSqlite(SqliteFormat* sqlite, uint32_t kind, const std::string* name,
                         const std::string& reason);
void endSqlite(SqliteFormat* sqlite);

// Removes what is not finished.
void abandonSqlite(SqliteFormat* sqlite);

// The first fault, else an empty text.
std::string sqliteFault(const SqliteFormat* sqlite);
