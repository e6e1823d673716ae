// The writable state of survey/, all of it. Zero when the process starts. For survey/, tools
// and tests.
#pragma once

#include "survey/survey.h"
#include "survey/survey_layouts.h"

struct SelectionList {
    char texts[SELECTIONS + 1][SELECTION_ROOM]; // by number, from 1; empty: not selected
    int32_t pointCount;                         // selections 5 to 8 that are set
    int32_t chainCount;                         // selections 9 to 12
    int32_t runCount;                           // selection 13
    int32_t cursor;                             // number reported last
};

struct SurveyState {
    // Process: commands and walks change it.
    SelectionList selections;

    // Built by every start-up, and constant until the next one.
    LayoutEntry pointLayout[POINT_FIELDS + 1];
    LayoutEntry surveyChainLayout[SURVEY_CHAIN_FIELDS + 1];
    LayoutEntry pointListLayout[POINT_LIST_FIELDS + 1];
    LayoutEntry featureLayout[FEATURE_FIELDS + 1];
    LayoutPlan pointPlan;
    LayoutPlan surveyChainPlan;
    LayoutPlan pointListPlan;
    LayoutPlan featurePlan;

    // Variables of the layouts: each holds the record read last through its layout. Points
    // and survey chains share the number texts.
    PointRecord point;
    SurveyChainRecord surveyChain;
    PointListRecord pointList;
    char numberTexts[3][NUMBER_TEXT_ROOM];
    char featureKey[FEATURE_KEY_ROOM];
};

extern SurveyState surveyState;
