// tarn-host: runs components the way the TV platform's runtime runs them. It loads each
// component of its configuration, opens the component's links, registers the application
// instances the components message, and serves a control channel through which clients
// invoke registered methods and receive events. SIGINT, SIGTERM or SIGHUP stops it cleanly.

#include <signal.h>

#include <iostream>
#include <string>

#include "CLI/CLI.hpp"
#include "base/logging.h"
#include "tools/cli/stop_signal.h"
#include "tools/cli/usage_error.h"
#include "tools/control/default_paths.h"
#include "tools/tarn-host/default_config.h"
#include "tools/tarn-host/host.h"
#include "tools/tarn-host/host_config.h"
#include "tools/tarn-host/host_config_reader.h"

namespace {

using tool_cli::kExitOk;

struct Options {
  bool config_given = false;
  std::string config_path;
  bool print_config = false;
  bool trace = false;
};

// Fills |options| from the command line. Returns -1 to go on, or the exit code.
int ParseCommandLine(int argc, char** argv, Options* options) {
  CLI::App app(
      "Runs components the way the TV platform's runtime runs them: loads each component "
      "library of the configuration (GetComponent, Init, QueryInterface(\"plugin_manager_itf\"), "
      "OpenLink for each link), registers the application instances they message, and serves "
      "a control channel for invoking registered methods and receiving events. Prints one "
      "line on stdout once it serves; SIGINT, SIGTERM or SIGHUP stops it, destroys the "
      "components and removes its sockets. It refuses to start when another process serves "
      "one of its sockets.\n"
      "Without --config it runs the AV plugin built or installed with it, the built-in "
      "receiver simulator, and its sockets under " +
          control::DefaultSocketDir() +
          "/.\nExit codes (the same for avctl and tarn-cec-sim): 0 stopped cleanly (or printed "
          "what was asked), 1 the configuration or a component failed, 2 usage error.\n"
          "Example: tarn-host --print-config > my.xml && tarn-host --config my.xml --trace",
      "tarn-host");
  app.add_option("--config", options->config_path,
                 "The configuration file, config.xml (see docs/config.md)")
      ->type_name("FILE");
  app.add_flag("--print-config", options->print_config,
               "Print the configuration in effect as config.xml and exit");
  app.add_flag("--trace", options->trace,
               "Write one line per exchange on every link, the control channel and with the "
               "CEC application to stderr (the option \"trace\" does the same)");
  app.set_version_flag("--version", "tarn-host " TARN_VERSION);
  const int exit_code = tool_cli::ParseCommandLine(app, argc, argv, std::cout, std::cerr);
  if (exit_code >= 0)
    return exit_code;
  options->config_given = app.count("--config") > 0;
  return -1;
}

// The configuration of |options|. False, with |*error| set, when it cannot be had.
bool GetConfig(const Options& options, tarn_host::HostConfig* config, std::string* error) {
  if (options.config_given)
    return tarn_host::HostConfigReader::Load(options.config_path, config, error);
  *config = tarn_host::DefaultHostConfig(tarn_host::FindPluginLibrary(tarn_host::ExecutablePath()));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const int exit_code = ParseCommandLine(argc, argv, &options);
  if (exit_code >= 0)
    return exit_code;

  tarn_host::HostConfig config;
  std::string error;
  if (!GetConfig(options, &config, &error))
    return tool_cli::ReportFailure("tarn-host", error);
  for (const std::string& warning : config.warnings)
    std::cerr << "tarn-host: warning: " << warning << std::endl;
  if (options.trace) {
    config.trace = true;
    config.options[tarn_host::kTraceOption] = "true";
  }
  if (options.print_config) {
    std::cout << config.ToXml() << std::flush;
    return kExitOk;
  }
  if (!options.config_given &&
      !tarn_host::EnsurePrivateDirectory(control::DefaultSocketDir(), &error))
    return tool_cli::ReportFailure("tarn-host", error);

  // Before any thread starts, so that every thread keeps the stop signals blocked.
  tool_cli::StopSignal stop_signal;
  if (!stop_signal.Init(&error))
    return tool_cli::ReportFailure("tarn-host", error);
  // A client that goes away must not end the host on the next write.
  signal(SIGPIPE, SIG_IGN);

  tarn_host::Host host(config);
  if (!host.Start(&error))
    return tool_cli::ReportFailure("tarn-host", error);
  std::cout << host.ReadyLine() << std::endl;

  const int signal_number = stop_signal.Wait();
  LOG_AT(logging::LOG_INFO) << "Stopping on "
                            << (signal_number == SIGINT    ? "SIGINT"
                                : signal_number == SIGTERM ? "SIGTERM"
                                : signal_number == SIGHUP  ? "SIGHUP"
                                                           : "a failed wait for a signal");
  host.Stop();
  return kExitOk;
}
