// A simulated audio receiver behind the TV's CEC application "nimbara.native.cec": the
// stand-in for that application wherever the TV is not there (tests, benchmarks, tarn-host's
// built-in application, the tarn-cec-sim program).
//
// It answers the CEC application's requests as the receiver would:
//   "set_cec_receiver_on_off"        "onoff" (bool)        switches the power
//   "get_cec_receiver_power_status"  (no argument needed)  replies "power status" (long):
//                                                          0 when off, 1 when on
//   "set_smart_home_sound_mode"      "sound mode" (long)   sets the mode, 0 to 4
// Every reply carries "return" (bool): true when the request was carried out, false for a
// request it cannot honour (an unknown name or message type, a missing or mistyped
// argument, a sound mode out of range). Faults can be injected into the replies, and
// every request received is recorded.
//
// Like a real receiver behind a slow bus, it acts only when it answers: after the reply
// delay, and only if the request's deadline has not passed meanwhile. A late request
// changes nothing and gets no reply; its sender has already been told it failed.
//
//   cec_sim::ReceiverSimulator receiver;
//   ORVELL0300::CInstanceDirectory::GetInstance()->AddLocalInstance(
//       cec_sim::kCecApplicationName, &receiver);
//
// All members may be called from any thread.

#ifndef TVAPP_SIMULATOR_RECEIVER_SIMULATOR_H_
#define TVAPP_SIMULATOR_RECEIVER_SIMULATOR_H_

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

#include "tvapp/message_handler.h"

namespace cec_sim {

// The instance name of the TV's CEC application.
extern const char kCecApplicationName[];

class ReceiverSimulator : public ORVELL0300::CMessageHandler {
 public:
  // What goes wrong with the replies. Except for kReturnFalse the receiver still carries
  // out the request; only its reply is spoiled.
  enum class Fault {
    kNone,
    kReturnFalse,    // "return" is false and the request is not carried out
    kEmptyReply,     // the reply has no entries at all
    kReturnNotBool,  // "return" is the long 1 instead of a bool
    kNoReply,        // no reply is sent
  };

  struct Request {
    int message_type;
    ORVELL0300::CMessage message;
  };

  typedef std::function<void(const Request&)> RequestObserver;

  // How a request ended, and the receiver's state after it.
  struct Outcome {
    bool late = false;     // its deadline passed first: nothing carried out, no reply
    bool replied = false;  // a reply was sent; |reply| is it
    ORVELL0300::CMessage reply;
    Fault fault = Fault::kNone;  // the fault in force
    bool power_on = false;
    long sound_mode = 0;
  };
  typedef std::function<void(const Outcome&)> OutcomeObserver;

  // A receiver that is off, in sound mode 0, without faults.
  ReceiverSimulator();
  ~ReceiverSimulator() override;
  ReceiverSimulator(const ReceiverSimulator&) = delete;
  ReceiverSimulator& operator=(const ReceiverSimulator&) = delete;

  bool power_on() const;
  void SetPowerOn(bool on);
  long sound_mode() const;

  // The fault applies to every later request until it is changed.
  void SetFault(Fault fault);
  // Waits this long, or until the request's deadline if that comes first, before
  // carrying out each request and replying (or sending none).
  void SetReplyDelay(std::chrono::milliseconds delay);
  // Makes "power status" answer |status| whatever the power; Clear... restores it.
  void SetPowerStatusOverride(long status);
  void ClearPowerStatusOverride();

  // Called with each request as it arrives, before any delay, on the delivering thread.
  void SetRequestObserver(RequestObserver observer);

  // Called with the outcome of each request once it is answered (or is not), on the
  // delivering thread.
  void SetOutcomeObserver(OutcomeObserver observer);

  // Every request received so far, in order of arrival.
  std::vector<Request> requests() const;
  void ClearRequests();

  // Ends a delay under way at once, leaving its request undone; from then on no request
  // is carried out or answered. For shutting down a server that would otherwise wait for
  // the delay.
  void Interrupt();

  // ORVELL0300::CMessageHandler:
  bool OnMessage(int message_type,
                 const ORVELL0300::CMessage& request,
                 Deadline deadline,
                 ORVELL0300::CMessage* reply) override;
  // True while there is neither a reply delay nor an observer, which may block.
  bool AnswersWithoutBlocking() const override;

 private:
  // Answers |request| (OnMessage() without telling the outcome observer).
  Outcome Answer(int message_type, const ORVELL0300::CMessage& request, Deadline deadline);

  // Carries out |request| unless |refuse| is set, adding the answer entries other than
  // "return" to |reply|. Returns whether the request was honoured. Called under |lock_|.
  bool Carry(int message_type,
             const ORVELL0300::CMessage& request,
             bool refuse,
             ORVELL0300::CMessage* reply);
  // Waits for |delay|, but not past |deadline|, or less when interrupted. Returns false
  // once interrupted.
  bool Delay(std::chrono::milliseconds delay, Deadline deadline);

  mutable std::mutex lock_;
  std::condition_variable interrupted_cv_;
  bool power_on_ = false;
  long sound_mode_ = 0;
  Fault fault_ = Fault::kNone;
  std::chrono::milliseconds delay_{0};
  bool power_status_overridden_ = false;
  long power_status_override_ = 0;
  bool interrupted_ = false;
  RequestObserver observer_;
  OutcomeObserver outcome_observer_;
  std::vector<Request> requests_;
};

}  // namespace cec_sim

#endif  // TVAPP_SIMULATOR_RECEIVER_SIMULATOR_H_
