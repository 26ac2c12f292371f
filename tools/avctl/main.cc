// avctl: the command-line client of the AV plugin's link and of tarn-host's control
// channel. See docs/avctl.md.

#include <iostream>

#include "tools/avctl/command_line.h"

int main(int argc, char** argv) {
  return avctl::RunCommandLine(argc, argv, &std::cout, &std::cerr);
}
