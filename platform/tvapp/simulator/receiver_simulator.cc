#include "tvapp/simulator/receiver_simulator.h"

#include <string>

#include "cecapp/cec_config.h"
#include "cecapp/cec_request_names.h"
#include "tvapp/application_base.h"

namespace cec_sim {

const char kCecApplicationName[] = "nimbara.native.cec";

namespace {

using cecapp::kGetPowerStatus;
using cecapp::kOnOffKey;
using cecapp::kPowerStatusKey;
using cecapp::kReturnKey;
using cecapp::kSetOnOff;
using cecapp::kSetSoundMode;
using cecapp::kSoundModeKey;
using cecapp::Utf8;

}  // namespace

ReceiverSimulator::ReceiverSimulator() = default;

ReceiverSimulator::~ReceiverSimulator() = default;

bool ReceiverSimulator::power_on() const {
  std::lock_guard<std::mutex> lock(lock_);
  return power_on_;
}

void ReceiverSimulator::SetPowerOn(bool on) {
  std::lock_guard<std::mutex> lock(lock_);
  power_on_ = on;
}

long ReceiverSimulator::sound_mode() const {
  std::lock_guard<std::mutex> lock(lock_);
  return sound_mode_;
}

void ReceiverSimulator::SetFault(Fault fault) {
  std::lock_guard<std::mutex> lock(lock_);
  fault_ = fault;
}

void ReceiverSimulator::SetReplyDelay(std::chrono::milliseconds delay) {
  std::lock_guard<std::mutex> lock(lock_);
  delay_ = delay;
}

void ReceiverSimulator::SetPowerStatusOverride(long status) {
  std::lock_guard<std::mutex> lock(lock_);
  power_status_overridden_ = true;
  power_status_override_ = status;
}

void ReceiverSimulator::ClearPowerStatusOverride() {
  std::lock_guard<std::mutex> lock(lock_);
  power_status_overridden_ = false;
}

void ReceiverSimulator::SetRequestObserver(RequestObserver observer) {
  std::lock_guard<std::mutex> lock(lock_);
  observer_ = std::move(observer);
}

std::vector<ReceiverSimulator::Request> ReceiverSimulator::requests() const {
  std::lock_guard<std::mutex> lock(lock_);
  return requests_;
}

void ReceiverSimulator::ClearRequests() {
  std::lock_guard<std::mutex> lock(lock_);
  requests_.clear();
}

void ReceiverSimulator::Interrupt() {
  {
    std::lock_guard<std::mutex> lock(lock_);
    interrupted_ = true;
  }
  interrupted_cv_.notify_all();
}

bool ReceiverSimulator::OnMessage(int message_type,
                                  const ORVELL0300::CMessage& request,
                                  Deadline deadline,
                                  ORVELL0300::CMessage* reply) {
  const Outcome outcome = Answer(message_type, request, deadline);
  OutcomeObserver observer;
  {
    std::lock_guard<std::mutex> lock(lock_);
    observer = outcome_observer_;
  }
  if (observer)
    observer(outcome);
  if (outcome.replied)
    *reply = outcome.reply;
  return outcome.replied;
}

ReceiverSimulator::Outcome ReceiverSimulator::Answer(int message_type,
                                                     const ORVELL0300::CMessage& request,
                                                     Deadline deadline) {
  RequestObserver observer;
  std::chrono::milliseconds delay;
  {
    std::lock_guard<std::mutex> lock(lock_);
    requests_.push_back(Request{message_type, request});
    observer = observer_;
    delay = delay_;
  }
  if (observer)
    observer(Request{message_type, request});
  Outcome outcome;
  const bool waited = Delay(delay, deadline);
  ORVELL0300::CMessage answer;
  bool honoured = false;
  {
    std::lock_guard<std::mutex> lock(lock_);
    // The sender has given up and reported a failure: the receiver must stay as it is.
    outcome.late = !waited || std::chrono::steady_clock::now() >= deadline;
    outcome.fault = fault_;
    if (!outcome.late)
      honoured = Carry(message_type, request, fault_ == Fault::kReturnFalse, &answer);
    outcome.power_on = power_on_;
    outcome.sound_mode = sound_mode_;
  }
  if (outcome.late || outcome.fault == Fault::kNoReply)
    return outcome;
  outcome.replied = true;
  if (outcome.fault == Fault::kEmptyReply)
    return outcome;
  if (outcome.fault == Fault::kReturnNotBool)
    outcome.reply.MakeResult(Utf8(kReturnKey), 1L);
  else
    outcome.reply.MakeResult(Utf8(kReturnKey), honoured);
  for (const ORVELL0300::CMessage::Entry& entry : answer.entries())
    outcome.reply.AddEntry(entry.key, entry.value);
  return outcome;
}

void ReceiverSimulator::SetOutcomeObserver(OutcomeObserver observer) {
  std::lock_guard<std::mutex> lock(lock_);
  outcome_observer_ = std::move(observer);
}

bool ReceiverSimulator::AnswersWithoutBlocking() const {
  std::lock_guard<std::mutex> lock(lock_);
  return delay_.count() == 0 && !observer_ && !outcome_observer_;
}

bool ReceiverSimulator::Carry(int message_type,
                              const ORVELL0300::CMessage& request,
                              bool refuse,
                              ORVELL0300::CMessage* reply) {
  const std::string& name = request.GetName().text();
  if (message_type != ORVELL0300::kMessageTypeQuery)
    return false;
  if (name == kGetPowerStatus) {
    const long status = power_status_overridden_ ? power_status_override_ : (power_on_ ? 1 : 0);
    reply->MakeResult(Utf8(kPowerStatusKey), status);
    return !refuse;
  }
  if (name == kSetOnOff) {
    bool on = false;
    if (!request.Query(Utf8(kOnOffKey), on) || refuse)
      return false;
    power_on_ = on;
    return true;
  }
  if (name == kSetSoundMode) {
    long mode = -1;
    if (!request.Query(Utf8(kSoundModeKey), mode) || mode < 0 || mode > cecapp::kMaxSoundMode ||
        refuse)
      return false;
    sound_mode_ = mode;
    return true;
  }
  return false;
}

bool ReceiverSimulator::Delay(std::chrono::milliseconds delay, Deadline deadline) {
  std::unique_lock<std::mutex> lock(lock_);
  if (delay.count() == 0)
    return !interrupted_;
  const auto now = std::chrono::steady_clock::now();
  // A wait past the deadline would end in nothing being done; it only holds the next
  // request up.
  const Deadline end = deadline - now < delay ? deadline : now + delay;
  interrupted_cv_.wait_until(lock, end, [this] { return interrupted_; });
  return !interrupted_;
}

}  // namespace cec_sim
