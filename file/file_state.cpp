#include "file/file_state.h"

FileState fileState = {};
