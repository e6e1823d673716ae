// A job as a folder of CSV files, one a kind, and one for what chains, profiles and survey chains
// list: chain_members.csv, profile_vertices.csv, survey_chain_points.csv.
//
// RFC 4180: a first line with the names of the columns, lines end with CR LF, texts with commas,
// quotes or line ends stand in quotes. UTF-8. The first column is the name that reads the element,
// then, in a list, the ordinal from 1; the members of the record follow. All members of an element
// that cannot be read are empty, and so is a number that is none.
//
// For tools/export/.
#pragma once

#include "tools/export/output.h"
#include "tools/export/record_tables.h"

#include <array>
#include <string>

struct CsvFormat {
    std::string folder;
    bool madeFolder;
    bool byteOrderMark;
    std::array<ExportOutput, RECORD_TABLES> files; // begun with their kind, finished together
    std::string fault;                             // of the folder
};

// Makes the folder. One that is there must be empty unless it is filled by force.
void beginCsv(CsvFormat* csv, const std::string& folder, bool force, bool byteOrderMark);
void beginKindCsv(CsvFormat* csv, uint32_t kind);

// Expects null for a name that is not known or an element that cannot be read.
void addElementCsv(CsvFormat* csv, uint32_t kind, const std::string* name, const void* element);
void endCsv(CsvFormat* csv);

// Removes what is not finished.
void abandonCsv(CsvFormat* csv);

// The first fault, else an empty text.
std::string csvFault(const CsvFormat* csv);
