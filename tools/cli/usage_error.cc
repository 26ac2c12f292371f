#include "tools/cli/usage_error.h"

#include <algorithm>
#include <iostream>
#include <sstream>

namespace tool_cli {

namespace {

// The edit distance between |a| and |b| (insertions, deletions, substitutions).
size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j)
    row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// Every command and long option name of |app| and of its commands.
void CollectWords(const CLI::App& app, std::vector<std::string>* words) {
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames())
      words->push_back("--" + name);
  }
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    words->push_back(command->get_name());
    CollectWords(*command, words);
  }
}

// The words of the command line that |error| is about: the last word of its message.
std::string OffendingWord(const CLI::ParseError& error) {
  std::istringstream message(error.what());
  std::string word;
  std::string last;
  while (message >> word)
    last = word;
  return last;
}

}  // namespace

int ParseCommandLine(CLI::App& app,
                     int argc,
                     const char* const* argv,
                     std::ostream& out,
                     std::ostream& err) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& e) {
    return app.exit(e, out, err);
  } catch (const CLI::ParseError& e) {
    return ReportUsageError(app, e, err);
  }
  return -1;
}

int ReportFailure(const char* tool, const std::string& error) {
  std::cerr << tool << ": " << error << std::endl;
  return kExitFailure;
}

std::string ClosestWord(const std::string& word, const std::vector<std::string>& known) {
  std::string best;
  size_t best_distance = std::min<size_t>(3, word.size() / 3) + 1;
  for (const std::string& candidate : known) {
    const size_t distance = EditDistance(word, candidate);
    if (distance > 0 && distance < best_distance) {
      best = candidate;
      best_distance = distance;
    }
  }
  return best;
}

int ReportUsageError(const CLI::App& app, const CLI::ParseError& error, std::ostream& err) {
  const std::string tool = app.get_name();
  err << tool << ": " << error.what() << "\n";
  std::vector<std::string> known;
  CollectWords(app, &known);
  const std::string suggestion = ClosestWord(OffendingWord(error), known);
  if (!suggestion.empty())
    err << tool << ": did you mean \"" << suggestion << "\"?\n";
  err << "Run \"" << tool << " --help\" for usage." << std::endl;
  return kExitUsage;
}

}  // namespace tool_cli
