#include "survey/survey_state.h"

SurveyState surveyState = {};
