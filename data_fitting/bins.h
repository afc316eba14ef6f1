// The bin table: narrows a site of a non-uniform partition to a few candidate cells.
#pragma once

#include "data_fitting/task.h"

namespace qor::df {

// Releases the task's bin table and makes a new one from its breakpoints.
Status rebuild_bins(Task &task);

} // namespace qor::df
