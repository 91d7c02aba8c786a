#include "vorn/waveform.h"

constinit Waveform waveform;
