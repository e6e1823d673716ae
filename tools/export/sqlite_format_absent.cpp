// In a build without SQLite's library.
#include "tools/export/sqlite_format.h"

bool hasSqlite() { return false; }

void beginSqlite(SqliteFormat*, std::FILE*, const std::string&) {}
void beginKindSqlite(SqliteFormat*, uint32_t) {}
void addElementSqlite(SqliteFormat*, uint32_t, const std::string*, const void*) {}
void addUnreadableSqlite(SqliteFormat*, uint32_t, const std::string*, const std::string&) {}
void endSqlite(SqliteFormat*) {}
void abandonSqlite(SqliteFormat*) {}
std::string sqliteFault(const SqliteFormat*) { return "this build has no SQLite"; }
