// How every tool of the project reports a command line it cannot take: on the error stream,
//   TOOL: MESSAGE
//   TOOL: did you mean "--config"?           (when a word is close to a known one)
//   Run "TOOL --help" for usage.
// and exit code 2. The three tools share one exit-code policy: 0 done, 1 failed at run
// time, 2 a usage error.

#ifndef TOOLS_CLI_USAGE_ERROR_H_
#define TOOLS_CLI_USAGE_ERROR_H_

#include <ostream>
#include <string>
#include <vector>

#include "CLI/CLI.hpp"

namespace tool_cli {

const int kExitOk = 0;
const int kExitFailure = 1;
const int kExitUsage = 2;

// Reports |error| from parsing the command line of |app| (the tool's top-level app) on
// |err| as above; returns kExitUsage.
int ReportUsageError(const CLI::App& app, const CLI::ParseError& error, std::ostream& err);

// Parses the command line into |app|. Returns -1 when the tool should go on; otherwise the
// exit code: kExitOk after --help or --version (printed on |out|), kExitUsage after a
// usage error (reported on |err| as above).
int ParseCommandLine(CLI::App& app,
                     int argc,
                     const char* const* argv,
                     std::ostream& out,
                     std::ostream& err);

// Reports a run-time failure of |tool| on stderr as "TOOL: ERROR"; returns kExitFailure.
int ReportFailure(const char* tool, const std::string& error);

// The known word closest to |word| among |known|, or empty when none is close enough to be
// a likely slip (at most a third of its letters differ, and at most 3).
std::string ClosestWord(const std::string& word, const std::vector<std::string>& known);

}  // namespace tool_cli

#endif  // TOOLS_CLI_USAGE_ERROR_H_
