#include "Process/standard_descriptors.h"
#include "lab/commands/program.h"

int main(int argc, char* argv[]) {
  process::hold_standard_descriptors();
  return lab::program(argc, argv);
}
