// tarn-cec-sim: serves a simulated audio receiver as the TV's CEC application over the
// TV application framework's socket transport, and prints every request it receives as
// one JSON line on stdout.

#include <signal.h>
#include <sys/un.h>

#include <cstdio>
#include <ctime>
#include <iostream>
#include <mutex>
#include <string>

#include "CLI/CLI.hpp"
#include "base/time/time.h"
#include "nlohmann/json.hpp"
#include "tools/cli/stop_signal.h"
#include "tools/cli/usage_error.h"
#include "tvapp/instance_server.h"
#include "tvapp/simulator/receiver_simulator.h"

namespace {

using tool_cli::kExitOk;

struct Options {
  std::string socket_path;
  std::string power = "off";
  bool fail_return = false;
  bool empty_reply = false;
  bool no_reply = false;
  int delay_ms = 0;
  long power_status = 0;
  bool power_status_given = false;
};

typedef nlohmann::ordered_json Json;

// The entries of |message| as a JSON object.
Json Entries(const ORVELL0300::CMessage& message) {
  Json entries = Json::object();
  for (const ORVELL0300::CMessage::Entry& entry : message.entries()) {
    const std::string& key = entry.key.text();
    std::visit(
        [&entries, &key](const auto& value) {
          using T = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<T, OCString>)
            entries[key] = value.text();
          else
            entries[key] = value;
        },
        entry.value);
  }
  return entries;
}

const char* FaultName(cec_sim::ReceiverSimulator::Fault fault) {
  switch (fault) {
    case cec_sim::ReceiverSimulator::Fault::kNone:
      return "none";
    case cec_sim::ReceiverSimulator::Fault::kReturnFalse:
      return "fail-return";
    case cec_sim::ReceiverSimulator::Fault::kEmptyReply:
      return "empty-reply";
    case cec_sim::ReceiverSimulator::Fault::kReturnNotBool:
      return "return-not-bool";
    case cec_sim::ReceiverSimulator::Fault::kNoReply:
      return "no-reply";
  }
  return "unknown";
}

void PrintLine(Json line) {
  line["time"] = base::Time::Now().UTCTimeOfDay(false);
  std::cout << line.dump(-1, ' ', false, Json::error_handler_t::replace) << std::endl;
}

// {"name":"set_smart_home_sound_mode","args":{"sound mode":4},"time":"10:42:46.123"}
void PrintRequest(const cec_sim::ReceiverSimulator::Request& request) {
  Json line;
  line["name"] = request.message.GetName().text();
  line["args"] = Entries(request.message);
  PrintLine(line);
}

// {"reply":{"return":true},"fault":"none","state":{"power":"on","sound_mode":0},"time":...}
// "reply" is null when none was sent; "late" is true when the deadline passed first.
void PrintOutcome(const cec_sim::ReceiverSimulator::Outcome& outcome) {
  Json line;
  if (outcome.late)
    line["late"] = true;
  line["reply"] = outcome.replied ? Entries(outcome.reply) : Json();
  line["fault"] = FaultName(outcome.fault);
  line["state"] = {{"power", outcome.power_on ? "on" : "off"}, {"sound_mode", outcome.sound_mode}};
  PrintLine(line);
}

// Fills |options| from the command line. Returns -1 to go on, or the exit code.
int ParseCommandLine(int argc, char** argv, Options* options) {
  CLI::App app(
      "Serves a simulated audio receiver as the TV's CEC application \"" +
          std::string(cec_sim::kCecApplicationName) +
          "\" on a Unix socket, for the TV application framework's remote transport.\n"
          "It answers \"set_cec_receiver_on_off\" (\"onoff\", bool), "
          "\"get_cec_receiver_power_status\" (replies \"power status\", long: 0 off, 1 on) "
          "and \"set_smart_home_sound_mode\" (\"sound mode\", long 0..4), each with "
          "\"return\" (bool). Once it serves it prints \"tarn-cec-sim: serving ...\"; then each "
          "request is printed on stdout as one JSON line when it arrives, and its outcome as "
          "another when it is answered: the reply (null for none), the fault applied, the "
          "receiver's state after it, and \"late\" when its deadline passed first. Each line "
          "carries the time of day (UTC). "
          "SIGINT, SIGTERM or SIGHUP stops it and removes the socket.\n"
          "Exit codes (the same for tarn-host and avctl): 0 stopped cleanly (or printed what "
          "was asked), 1 the socket cannot be served, 2 usage error.\n"
          "Example: tarn-cec-sim --socket /tmp/cec.sock --power on --delay-ms 200",
      "tarn-cec-sim");
  const CLI::Validator socket_path(
      [](std::string& path) {
        return !path.empty() && path.size() < sizeof(sockaddr_un::sun_path)
                   ? std::string()
                   : "the socket path must be 1 to " +
                         std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " bytes long";
      },
      "PATH");
  app.add_option("--socket", options->socket_path, "Unix socket path to serve on (required)")
      ->required()
      ->check(socket_path);
  app.add_option("--power", options->power, "Power state of the receiver at start (default off)")
      ->check(CLI::IsMember({"on", "off"}));
  CLI::Option* fail = app.add_flag("--fail-return", options->fail_return,
                                   "Refuse every request: reply \"return\" = false and leave "
                                   "the receiver as it is");
  CLI::Option* empty = app.add_flag("--empty-reply", options->empty_reply,
                                    "Reply with a message that has no entries")
                           ->excludes(fail);
  app.add_flag("--no-reply", options->no_reply, "Send no reply at all")
      ->excludes(fail)
      ->excludes(empty);
  app.add_option("--delay-ms", options->delay_ms,
                 "Wait this many milliseconds before carrying out each request and replying "
                 "(default 0); a request whose sender gives up meanwhile is left undone")
      ->check(CLI::Range(0, 3600 * 1000));
  app.add_option("--power-status", options->power_status,
                 "Answer \"power status\" with this number instead of 0 (off) or 1 (on)");
  app.set_version_flag("--version", "tarn-cec-sim " TARN_VERSION);
  const int exit_code = tool_cli::ParseCommandLine(app, argc, argv, std::cout, std::cerr);
  if (exit_code >= 0)
    return exit_code;
  options->power_status_given = app.count("--power-status") > 0;
  return -1;
}

void Configure(const Options& options, cec_sim::ReceiverSimulator* receiver) {
  receiver->SetPowerOn(options.power == "on");
  if (options.fail_return)
    receiver->SetFault(cec_sim::ReceiverSimulator::Fault::kReturnFalse);
  if (options.empty_reply)
    receiver->SetFault(cec_sim::ReceiverSimulator::Fault::kEmptyReply);
  if (options.no_reply)
    receiver->SetFault(cec_sim::ReceiverSimulator::Fault::kNoReply);
  receiver->SetReplyDelay(std::chrono::milliseconds(options.delay_ms));
  if (options.power_status_given)
    receiver->SetPowerStatusOverride(options.power_status);
  receiver->SetRequestObserver(PrintRequest);
  receiver->SetOutcomeObserver(PrintOutcome);
}

// Serves the simulator configured by |options| until a stop signal comes.
int Serve(const Options& options) {
  // Before any thread starts, so that every thread keeps the stop signals blocked. A
  // reader that goes away must not kill the process on the next line.
  tool_cli::StopSignal stop_signal;
  std::string error;
  if (!stop_signal.Init(&error))
    return tool_cli::ReportFailure("tarn-cec-sim", error);
  signal(SIGPIPE, SIG_IGN);

  cec_sim::ReceiverSimulator receiver;
  Configure(options, &receiver);
  ORVELL0300::CInstanceServer server(&receiver);
  if (!server.Start(options.socket_path, &error))
    return tool_cli::ReportFailure("tarn-cec-sim", error);
  // On stdout, as tarn-host's: scripts wait for this line.
  std::cout << "tarn-cec-sim: serving " << cec_sim::kCecApplicationName << " on "
            << options.socket_path << std::endl;

  stop_signal.Wait();
  receiver.Interrupt();
  server.Stop();
  return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const int exit_code = ParseCommandLine(argc, argv, &options);
  return exit_code >= 0 ? exit_code : Serve(options);
}
