#include "tools/avctl/command_line.h"

#include <climits>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CLI/CLI.hpp"
#include "base/values.h"
#include "tools/avctl/command_context.h"
#include "tools/avctl/control_commands.h"
#include "tools/avctl/events_command.h"
#include "tools/avctl/invoke_arguments.h"
#include "tools/avctl/link_commands.h"
#include "tools/avctl/status_commands.h"
#include "tools/cli/stop_signal.h"
#include "tools/cli/usage_error.h"
#include "tools/control/default_paths.h"

namespace avctl {

namespace {

const char kDescription[] =
    "Drives the AV plugin the way the platform's device layer does: requests go over the "
    "plugin's link (--socket), and the platform's discovery and disconnection calls and the "
    "event feed go over tarn-host's control channel (--control). Each reply is printed on "
    "the standard output as one line of JSON; errors go to the standard error.";

const char kFooter[] =
    "Exit codes (the same for tarn-host and tarn-cec-sim): 0 a reply came (whatever it "
    "says), 1 no connection, no reply within the time-out, or an error reply, 2 the command "
    "line is wrong.\n"
    "Run \"avctl COMMAND --help\" for the arguments and output of each command.";

const char kInvokeFooter[] =
    "key=value gives the string \"value\"; key:=JSON gives a typed value: a number (an "
    "integer when it fits in 32 bits and has no fraction or exponent, else a double), true, "
    "false, null, a list or an object. --args gives the whole dictionary as a JSON object; "
    "the pairs then add to it or replace its entries.\n"
    "Example: avctl invoke SetSpeakerVolume device_id=tv-1 speaker_volume:=20\n"
    "Prints {\"code\":0,\"result\":{...}}: the method's result code (0 success, 100 the "
    "receiver did not answer, 105 a value outside its set, 107 a missing or mistyped "
    "argument, 404 no such method) and its results.\n"
    "The methods (each also takes device_id, any text):\n"
    "  SetPowerState power_state=on|off       GetPowerState\n"
    "  SetSoundMode sound_mode=Standard|Music|Movie|ClearVoice|Amplify\n"
    "  GetSoundMode                           GetSpeakerVolume\n"
    "  SetSpeakerVolume speaker_volume:=N     GetMicVolume\n"
    "  SetMicVolume mic_volume:=N             GetSoundMuteState\n"
    "  SetSoundMuteState mute_state=TEXT      GetMicPower\n"
    "  SetMicPower mic_power=TEXT             GetDeviceResources";

// Every command's help ends with the options that all commands take.
const char kGlobalOptionsFooter[] =
    "Options of every command, before or after it: --socket PATH (the plugin's link), "
    "--control PATH (tarn-host's control channel), --timeout MS, --pretty, --fail-on-code; "
    "see \"avctl --help\".";

// A command: the subcommand that selects it and what runs it.
struct Command {
  CLI::App* app;
  std::function<int(CommandContext*)> run;
};

class CommandLine {
 public:
  CommandLine() : app_(kDescription, "avctl") {
    app_.footer(kFooter);
    app_.set_version_flag("--version", "avctl " TARN_VERSION);
    // At most one command; its absence is reported after parsing, so that an unknown
    // word is reported as such first.
    app_.require_subcommand(0, 1);
    // Global options may follow the command too.
    app_.fallthrough();
    AddGlobalOptions();
    AddInvoke();
    AddProperty();
    AddDeviceRequests();
    AddControlCommands();
    AddEvents();
    AddStatusCommands();
    for (const Command& command : commands_)
      command.app->footer(command.app->get_footer() + "\n" + kGlobalOptionsFooter);
  }

  int Run(int argc, const char* const* argv, std::ostream* out, std::ostream* err) {
    const int exit_code = tool_cli::ParseCommandLine(app_, argc, argv, *out, *err);
    if (exit_code >= 0)
      return exit_code;
    CommandContext context(global_, out, err);
    for (const Command& command : commands_) {
      if (command.app->parsed())
        return command.run(&context);
    }
    *err << "avctl: a command is required\nRun \"avctl --help\" for usage." << std::endl;
    return kExitUsage;
  }

 private:
  void AddGlobalOptions() {
    global_.socket_path = control::DefaultLinkPath();
    global_.control_path = control::DefaultControlPath();
    app_.add_option("--socket", global_.socket_path, "The plugin's link")
        ->type_name("PATH")
        ->capture_default_str();
    app_.add_option("--control", global_.control_path, "tarn-host's control channel")
        ->type_name("PATH")
        ->capture_default_str();
    app_.add_flag("--pretty", global_.pretty, "Indented JSON instead of one line per reply");
    app_.add_flag("--fail-on-code", global_.fail_on_code,
                  "invoke: exit 1 when the method answers a result code other than 0");
    app_.add_option("--timeout", global_.timeout_ms,
                    "Milliseconds allowed for connecting and for each exchange")
        ->type_name("MS")
        ->check(CLI::Range(1, INT_MAX))
        ->capture_default_str();
  }

  CLI::App* AddCommand(const std::string& name,
                       const std::string& description,
                       std::function<int(CommandContext*)> run) {
    CLI::App* command = app_.add_subcommand(name, description);
    commands_.push_back({command, std::move(run)});
    return command;
  }

  void AddInvoke() {
    CLI::App* invoke =
        AddCommand("invoke", "Invoke a service method of the plugin by name",
                   [this](CommandContext* context) { return RunInvokeCommand(context); });
    invoke->footer(kInvokeFooter);
    invoke->add_option("method", method_, "The method's name, e.g. GetPowerState")->required();
    invoke->add_option("pairs", pairs_, "Arguments as key=value or key:=JSON")->type_name("ARG");
    args_option_ = invoke->add_option("--args", args_json_, "The whole argument dictionary")
                       ->type_name("JSON");
  }

  int RunInvokeCommand(CommandContext* context) {
    std::string error;
    std::unique_ptr<base::DictionaryValue> arguments =
        BuildInvokeArguments(args_option_->count() ? &args_json_ : nullptr, pairs_, &error);
    if (!arguments) {
      context->Fail(error);
      return kExitUsage;
    }
    return RunInvoke(context, method_, *arguments);
  }

  void AddProperty() {
    CLI::App* property =
        AddCommand("property", "Read a device's record",
                   [this](CommandContext* context) { return RunProperty(context, device_id_); });
    property->footer(
        "Prints {\"found\":true,\"device\":{\"device_id\":...,\"number_21\":30,...}}: whether "
        "the plugin knows the device, and the record it answered with, every field by name "
        "(text_19 never travels, so it is always empty).\n"
        "Example: avctl property tv-1");
    property->add_option("device_id", device_id_, "The device's id")->required();
  }

  void AddDeviceRequests() {
    const std::string kOkFooter =
        "The plugin accepts these requests without acting on them. Prints {\"ok\":true} or "
        "{\"ok\":false}, the plugin's answer.";
    CLI::App* add = AddCommand("register", "Ask the plugin to register a device",
                               [this](CommandContext* context) {
                                 return RunRegister(context, strings_[0], strings_[1], strings_[2]);
                               });
    add->footer(kOkFooter + "\nExample: avctl register tv-1 \"Living room TV\" av");
    add->add_option("strings", strings_,
                    "The request's three strings: the device's id, name and kind, as the "
                    "device layer gives them (the plugin reads none of them)")
        ->type_name("STRING")
        ->expected(3)
        ->required();

    CLI::App* remove = AddCommand("unregister", "Ask the plugin to unregister a device",
                                  [this](CommandContext* context) {
                                    return RunUnregister(context, strings_[0], strings_[1]);
                                  });
    remove->footer(kOkFooter + "\nExample: avctl unregister tv-1 av");
    remove
        ->add_option("strings", strings_,
                     "The request's two strings: the device's id and kind, as the device "
                     "layer gives them (the plugin reads neither)")
        ->type_name("STRING")
        ->expected(2)
        ->required();

    AddCommand("rescan", "Ask the plugin for a manual rescan of the devices", RunRescan)
        ->footer(kOkFooter + "\nExample: avctl rescan");
    AddCommand("delete", "Ask the plugin to delete a device (the request carries no arguments)",
               RunDelete)
        ->footer(kOkFooter + "\nExample: avctl delete");
  }

  void AddControlCommands() {
    const char kControlFooter[] =
        "Goes through tarn-host's control channel (--control). Prints {\"ok\":true} or "
        "{\"ok\":false}, the method's result; a host that cannot invoke the method is an "
        "error (exit 1).\n"
        "Example: avctl discover tv-1";
    CLI::App* discover =
        AddCommand("discover", "Announce a device's discovery (the platform's call of OnDiscovery)",
                   [this](CommandContext* context) { return RunDiscover(context, device_id_); });
    discover->footer(kControlFooter);
    discover->add_option("device_id", device_id_, "The device's id")->required();

    CLI::App* disconnect = AddCommand(
        "disconnect",
        "Announce a device's disconnection (the platform's call of OnDeviceDisconnection)",
        [this](CommandContext* context) { return RunDisconnect(context, device_id_); });
    disconnect->footer(kControlFooter);
    disconnect->add_option("device_id", device_id_, "The device's id")->required();
  }

  void AddEvents() {
    CLI::App* events = AddCommand(
        "events", "Print the events tarn-host forwards", [this](CommandContext* context) {
          tool_cli::StopSignal stop_signal;
          std::string error;
          if (!stop_signal.Init(&error))
            return context->Fail(error);
          return RunEvents(context, events_, [&stop_signal] { return stop_signal.Pending(); });
        });
    events->footer(
        "Subscribes on tarn-host's control channel (--control) and prints one line per event, "
        "e.g. {\"id\":35,\"data\":[\"tv-1\",\"av_plugin\"]} (35 discovery, 37 disconnection), "
        "until SIGINT, SIGTERM or SIGHUP (exit 0) or until the host goes away (exit 1). The "
        "time-out "
        "bounds connecting and subscribing, not the wait for events. It says on stderr when it "
        "is subscribed.\n"
        "Example: avctl events --id 35 --count 1");
    events->add_option("--id", events_.event_id, "Only events of this id (default: all)")
        ->type_name("N")
        ->check(CLI::Range(0, INT_MAX));
    events->add_option("--count", events_.count, "Exit after this many events")
        ->type_name("N")
        ->check(CLI::Range(1, INT_MAX));
  }

  void AddStatusCommands() {
    CLI::App* status =
        AddCommand("status", "Print tarn-host's figures: uptime, peers, requests, errors, latency",
                   [this](CommandContext* context) { return RunStatus(context, human_); });
    status->footer(
        "Goes through tarn-host's control channel (--control). Prints one line of JSON "
        "(docs/avctl.md describes every field), or a short table with --human.\n"
        "Example: avctl status --human");
    status->add_flag("--human", human_, "A short table instead of JSON");

    CLI::App* wait =
        AddCommand("wait", "Wait until tarn-host serves: its link and control channel answer",
                   [this](CommandContext* context) { return RunWait(context, subscribers_); });
    wait->footer(
        "Tries again until --timeout passes (exit 1), then prints {\"ready\":true}. With "
        "--subscribers N it also waits until N clients are subscribed to events, so that a "
        "script can start \"avctl events &\" and wait for it before causing events.\n"
        "Example: tarn-host & avctl wait && avctl invoke GetSpeakerVolume device_id=x");
    wait->add_option("--subscribers", subscribers_, "Also wait for this many event subscribers")
        ->type_name("N")
        ->check(CLI::Range(0, INT_MAX));
  }

  CLI::App app_;
  std::vector<Command> commands_;

  // What the command line fills in.
  GlobalOptions global_;
  std::string method_;
  std::vector<std::string> pairs_;
  std::string args_json_;
  CLI::Option* args_option_ = nullptr;  // owned by |app_|
  std::string device_id_;
  std::vector<std::string> strings_;
  EventsOptions events_;
  bool human_ = false;
  int subscribers_ = 0;
};

}  // namespace

int RunCommandLine(int argc, const char* const* argv, std::ostream* out, std::ostream* err) {
  CommandLine command_line;
  return command_line.Run(argc, argv, out, err);
}

}  // namespace avctl
