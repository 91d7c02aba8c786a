#pragma once

/// Prints on standard error what the run is about to do.
void summarize();
