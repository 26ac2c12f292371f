// "avctl events": subscribes on tarn-host's control channel and prints each forwarded
// event as one JSON line, {"id":35,"data":["tv-1","av_plugin"]}, flushed as it comes.

#ifndef TOOLS_AVCTL_EVENTS_COMMAND_H_
#define TOOLS_AVCTL_EVENTS_COMMAND_H_

#include <functional>

namespace avctl {

class CommandContext;

struct EventsOptions {
  int event_id = -1;  // one event id, or -1 for every id
  int count = 0;      // stop after this many events; 0 for no limit
};

// Connects and subscribes within the context's time-out, then waits for events without a
// time limit. Returns kExitOk after |options.count| events or once |stop_requested|
// answers true (it is asked at least every 200 ms), kExitFailure when the host refuses the
// subscription or goes away.
int RunEvents(CommandContext* context,
              const EventsOptions& options,
              const std::function<bool()>& stop_requested);

}  // namespace avctl

#endif  // TOOLS_AVCTL_EVENTS_COMMAND_H_
