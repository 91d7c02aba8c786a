#pragma once

#include "vorn/notes.h"

/// This user may not have a fixed priority, which every thread of a run needs.
Note note_on_refused_priority();

/// A thread beside the workloads did not start; `error`: the errno value that says why.
Note note_on_refused_thread(int error);
