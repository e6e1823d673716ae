#include "tools/export/sqlite_format.h"

#include "platform/os.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"

#include <cerrno>
#include <cstring>
#include <sqlite3.h>

bool hasSqlite() { return true; }

// -- Statements --------------------------------------------------------------

static void noteFault(SqliteFormat* sqlite)
{
    if (sqlite->fault.empty()) {
        sqlite->fault = sqlite->output.name + ": " + sqlite3_errmsg(sqlite->database);
    }
}

static void run(SqliteFormat* sqlite, const std::string& sql)
{
    if (!sqlite->fault.empty()) return;
    int result = sqlite3_exec(sqlite->database, sql.c_str(), nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) noteFault(sqlite);
}

// Prepares a statement that adds a row of so many values.
static sqlite3_stmt* prepareInsert(SqliteFormat* sqlite, const std::string& table, int values)
{
    if (!sqlite->fault.empty()) return nullptr;
    std::string sql = "INSERT INTO " + table + " VALUES (?";
    for (int i = 1; i < values; ++i) {
        sql += ",?";
    }
    sql += ")";
    sqlite3_stmt* statement = nullptr;
    int result = sqlite3_prepare_v2(sqlite->database, sql.c_str(), -1, &statement, nullptr);
    if (result != SQLITE_OK) noteFault(sqlite);
    return statement;
}

static void bindText(sqlite3_stmt* statement, int at, const std::string& text)
{
    int length = static_cast<int>(text.size());
    sqlite3_bind_text(statement, at, text.c_str(), length, SQLITE_TRANSIENT);
}

// Null for a name that is not known.
static void bindName(sqlite3_stmt* statement, int at, const std::string* name)
{
    if (name != nullptr) bindText(statement, at, utf8FromLatin1(*name));
}

static void bindValue(sqlite3_stmt* statement, int at, const MemberValue& value)
{
    if (value.isNull) {
        sqlite3_bind_null(statement, at);
    } else if (value.type == MEMBER_TEXT) {
        bindText(statement, at, value.text);
    } else if (value.type == MEMBER_REAL) {
        sqlite3_bind_double(statement, at, value.real);
    } else {
        sqlite3_bind_int(statement, at, value.integer);
    }
}

// Adds the row bound.
static void addRow(SqliteFormat* sqlite, sqlite3_stmt* statement)
{
    if (sqlite3_step(statement) != SQLITE_DONE) noteFault(sqlite);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
}

// -- Tables and views --------------------------------------------------------

struct ListNames {
    const char* table;  // that holds what the elements of the kind list
    const char* parent; // its column for the element's row
};

// Expects a kind that has a list table.
static ListNames listNames(uint32_t kind)
{
    if (kind == ELEMENT_CHAIN) return {"members", "chain_id"};
    if (kind == ELEMENT_PROFILE) return {"vertices", "profile_id"};
    return {"listed_points", "survey_chain_id"};
}

constexpr const char* COLUMN_TYPES[] = {" TEXT", " INTEGER", " INTEGER", " REAL"}; // by MemberType

// The columns of the table's groups, each behind a comma.
static std::string columns(const RecordTable& table, bool withTypes)
{
    std::string list;
    for (const MemberGroup& group : table.groups) {
        for (const RecordMember& member : group.members) {
            list.append(", ").append(group.prefix).append(member.name);
            if (withTypes) list += COLUMN_TYPES[member.type];
        }
    }
    return list;
}

static int countColumns(const RecordTable& table)
{
    size_t count = 0;
    for (const MemberGroup& group : table.groups) {
        count += group.members.size();
    }
    return static_cast<int>(count);
}

// The columns of a record in a row under the names that they have by themselves.
static std::string partColumns(uint32_t kind, const std::string& prefix)
{
    std::string list;
    for (const RecordMember& member : membersOf(kind)) {
        list += ", " + prefix + member.name + " AS " + member.name;
    }
    return list;
}

static void createListTable(SqliteFormat* sqlite, uint32_t kind)
{
    ListNames names = listNames(kind);
    const RecordTable& list = recordTable(listTable(kind));
    std::string parent = names.parent;
    std::string elements = recordTable(static_cast<int>(kind)).name;
    run(sqlite, "CREATE TABLE " + std::string(names.table) + " (" + parent +
                    " INTEGER NOT NULL REFERENCES " + elements + " (id), ordinal INTEGER NOT NULL" +
                    columns(list, true) + ", PRIMARY KEY (" + parent + ", ordinal))");
    run(sqlite, "CREATE VIEW " + std::string(list.name) + " AS SELECT elementName, ordinal" +
                    columns(list, false) + " FROM (SELECT elementName, list.* FROM " + names.table +
                    " AS list JOIN " + elements + " AS element ON element.id = list." + parent +
                    ")");
    sqlite->rows[listTable(kind)] = prepareInsert(sqlite, names.table, countColumns(list) + 2);
}

static void createChainViews(SqliteFormat* sqlite)
{
    const struct {
        const char* view;
        uint32_t kind; // as in ChainMember.memberKind
        const char* prefix;
    } views[] = {{"chain_points", ELEMENT_POINT, "point_"},
                 {"chain_curves", ELEMENT_CURVE, "curve_"},
                 {"chain_spirals", ELEMENT_SPIRAL, "spiral_"}};
    for (const auto& view : views) {
        run(sqlite, std::string("CREATE VIEW ") + view.view + " AS SELECT elementName, ordinal" +
                        partColumns(view.kind, view.prefix) +
                        " FROM chain_members WHERE memberKind = " + std::to_string(view.kind));
    }
}

static void createLineView(SqliteFormat* sqlite)
{
    run(sqlite, "CREATE VIEW line_points AS SELECT elementName, 1 AS ordinal" +
                    partColumns(ELEMENT_POINT, "beginPoint_") + " FROM lines WHERE name NOTNULL" +
                    " UNION ALL SELECT elementName, 2" + partColumns(ELEMENT_POINT, "endPoint_") +
                    " FROM lines WHERE name NOTNULL");
}

void beginKindSqlite(SqliteFormat* sqlite, uint32_t kind)
{
    const RecordTable& table = recordTable(static_cast<int>(kind));
    std::string name = table.name;
    run(sqlite, "CREATE TABLE " + name + " (id INTEGER PRIMARY KEY, elementName TEXT" +
                    columns(table, true) + ")");
    sqlite->rows[kind] = prepareInsert(sqlite, name, countColumns(table) + 2);
    sqlite->id = 0;
    if (listTable(kind) != NO_TABLE) createListTable(sqlite, kind);
    if (kind == ELEMENT_CHAIN) createChainViews(sqlite);
    if (kind == ELEMENT_LINE) createLineView(sqlite);
}

// -- Rows --------------------------------------------------------------------

void beginSqlite(SqliteFormat* sqlite, std::FILE* stream, const std::string& path)
{
    *sqlite = {};
    beginOutput(&sqlite->output, stream, path);
    if (!sqlite->output.fault.empty()) return;
    if (beginTemporaryFile(&sqlite->scratch) != NEW_FILE_DONE) {
        sqlite->fault = std::string("no temporary file: ") + std::strerror(errno);
        return;
    }
    int result = sqlite3_open_v2(sqlite->scratch.temporary.c_str(), &sqlite->database,
                                 SQLITE_OPEN_READWRITE, nullptr);
    if (result != SQLITE_OK) noteFault(sqlite);
    dropName(&sqlite->scratch);
    // A file that nobody sees before it is complete needs no journal.
    run(sqlite, "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN;"
                "CREATE TABLE unreadable (kind TEXT NOT NULL, elementName TEXT, reason TEXT)");
    sqlite->unreadable = prepareInsert(sqlite, "unreadable", 3);
}

// Binds the members of the row behind what is bound already, and adds it.
static void addRecord(SqliteFormat* sqlite, int table, int bound, const void* row)
{
    sqlite3_stmt* statement = sqlite->rows[table];
    for (const MemberGroup& group : recordTable(table).groups) {
        const void* record = groupIn(group, row);
        for (const RecordMember& member : group.members) {
            bindValue(statement, ++bound, memberValue(member, record));
        }
    }
    addRow(sqlite, statement);
}

void addElementSqlite(SqliteFormat* sqlite, uint32_t kind, const std::string* name,
                      const void* element)
{
    if (!sqliteFault(sqlite).empty()) return;
    sqlite3_bind_int64(sqlite->rows[kind], 1, ++sqlite->id);
    bindName(sqlite->rows[kind], 2, name);
    addRecord(sqlite, static_cast<int>(kind), 2, element);

    int list = listTable(kind);
    if (list == NO_TABLE || element == nullptr) return;
    int64_t ordinal = 0;
    const void* listed = firstListed(kind, element);
    while (listed != nullptr) {
        sqlite3_bind_int64(sqlite->rows[list], 1, sqlite->id);
        sqlite3_bind_int64(sqlite->rows[list], 2, ++ordinal);
        addRecord(sqlite, list, 2, listed);
        listed = nextListed(kind, element, listed);
    }
}

void addUnreadableSqlite(SqliteFormat* sqlite, uint32_t kind, const std::string* name,
                         const std::string& reason)
{
    if (!sqliteFault(sqlite).empty()) return;
    bindText(sqlite->unreadable, 1, ELEMENT_KINDS[kind].name);
    bindName(sqlite->unreadable, 2, name);
    bindText(sqlite->unreadable, 3, reason);
    addRow(sqlite, sqlite->unreadable);
}

// -- The end -----------------------------------------------------------------

static void closeDatabase(SqliteFormat* sqlite)
{
    for (sqlite3_stmt*& statement : sqlite->rows) {
        sqlite3_finalize(statement);
        statement = nullptr;
    }
    sqlite3_finalize(sqlite->unreadable);
    sqlite->unreadable = nullptr;
    sqlite3_close(sqlite->database);
    sqlite->database = nullptr;
}

static void copyDatabase(SqliteFormat* sqlite)
{
    char bytes[1 << 14];
    int64_t copied = 0;
    int length = osReadAt(sqlite->scratch.descriptor, copied, bytes, sizeof bytes);
    while (length > 0) {
        put(&sqlite->output, {bytes, static_cast<size_t>(length)});
        copied += length;
        length = osReadAt(sqlite->scratch.descriptor, copied, bytes, sizeof bytes);
    }
    if (length < 0) sqlite->fault = std::string("the temporary file: ") + std::strerror(errno);
}

static void indexNames(SqliteFormat* sqlite, uint32_t kind)
{
    std::string table = recordTable(static_cast<int>(kind)).name;
    run(sqlite, "CREATE INDEX " + table + "_by_name ON " + table + " (elementName)");
}

void endSqlite(SqliteFormat* sqlite)
{
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        if (sqlite->rows[kind] != nullptr) indexNames(sqlite, kind);
    }
    run(sqlite, "COMMIT");
    closeDatabase(sqlite);
    if (sqliteFault(sqlite).empty()) copyDatabase(sqlite);
    if (sqliteFault(sqlite).empty()) finishOutput(&sqlite->output);
    abandonNewFile(&sqlite->scratch);
}

void abandonSqlite(SqliteFormat* sqlite)
{
    closeDatabase(sqlite);
    abandonNewFile(&sqlite->scratch);
    abandonOutput(&sqlite->output);
}

std::string sqliteFault(const SqliteFormat* sqlite)
{
    return sqlite->fault.empty() ? sqlite->output.fault : sqlite->fault;
}
