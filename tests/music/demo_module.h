// A demonstration module built in code: several instruments (bass, lead, drums, pad)
// and most of the effects, about half a minute long.
#pragma once
#include "tools/common/xm_writer.h"

XmWriterModule DemoModule();
