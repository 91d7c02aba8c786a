#pragma once

#include <string>

#include "vorn/notes.h"

class SampleFile;
class SamplingGrid;

/// The file that takes the samples could not be opened.
Notes notes_on_opening(const SampleFile& file);

/// The file did not take a line. Requires: it was opened.
Note note_on_first_loss(const SampleFile& file);

/// What was lost of the samples, after the file was closed. `kept`: what SampleFile::close() said.
Notes notes_on_lost_lines(const SampleFile& file, bool kept);

/// What samples were late or left out, and whether all of them began late.
Notes notes_on_grid(const SamplingGrid& grid);
