// The writable state of jobdb/, all of it. Zero when the process starts. For jobdb/
// and its tests.
#pragma once

#include "engine/index_file.h"
#include "jobdb/jobdb.h"
#include "jobdb/survey_layouts.h"

struct JobFileSlot {
    int32_t inUse;             // 1: the slot holds a file; 0: free, and its name is empty
    char name[FILE_NAME_ROOM]; // at most FILE_NAME_LIMIT characters, the rest zero
};

struct JobFileTable {
    JobFileSlot slots[JOB_FILE_SLOTS];
    int32_t currentSlot;                    // or NO_CURRENT_SLOT
    char oldFileName[FILE_NAME_ROOM];       // as "CURRENT" reported it last
    char alternateFileName[FILE_NAME_ROOM]; // as "CURRENT_ALT" did
    IndexFile contexts[JOB_FILE_SLOTS];     // context n belongs to the file in slot n
};

struct SelectionList {
    char texts[SELECTIONS + 1][SELECTION_ROOM]; // by number, from 1; empty: not selected
    int32_t pointCount;                         // selections 5 to 8 that are set
    int32_t chainCount;                         // selections 9 to 12
    int32_t runCount;                           // selection 13
    int32_t cursor;                             // number reported last
};

constexpr size_t POINT_NAME_ROOM = 32; // without blanks; longer ones are cut

struct JobdbState {
    // Process: commands and walks change these.
    JobFileTable table;
    SelectionList selections;

    // Built by every start-up, constant in between.
    LayoutEntry pointLayout[POINT_FIELDS + 1];
    LayoutEntry surveyChainLayout[SURVEY_CHAIN_FIELDS + 1];
    LayoutEntry pointListLayout[POINT_LIST_FIELDS + 1];
    LayoutEntry featureLayout[FEATURE_FIELDS + 1];

    // Variables of the layouts: each holds the record read last through its layout.
    // The number texts belong to points and survey chains both.
    PointRecord point;
    SurveyChainRecord surveyChain;
    PointListRecord pointList;
    char numberTexts[3][NUMBER_TEXT_ROOM];
    char featureKey[FEATURE_KEY_ROOM];

    // Operation: what surveyPointName answered last.
    char currentPointName[POINT_NAME_ROOM];
};

extern JobdbState jobdbState;
