#include "reception/recordinfo.h"

RECORDINFO* g_recordinfo = nullptr;
