// The TV's side of the CEC bus: claims a logical address on the adapter and sends frames,
// turning what the kernel reports about each into a verdict and, when it failed, a cause
// fit for a log line.
//
//   cecapp::CecInitiator initiator(std::move(adapter), config);
//   if (!initiator.Claim(&error)) ...
//   cecapp::CecInitiator::Outcome outcome =
//       initiator.Send(5, {CEC_MSG_GIVE_DEVICE_POWER_STATUS}, CEC_MSG_REPORT_POWER_STATUS,
//                      deadline);
//
// Not thread-safe: one thread at a time.

#ifndef CECAPP_CEC_INITIATOR_H_
#define CECAPP_CEC_INITIATOR_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cecapp/cec_config.h"

namespace cecapp {

class CecAdapter;

class CecInitiator {
 public:
  // The longest the kernel spends on sending one frame before it reports a time-out
  // (its transmit limit, retries included). A send is started only when this, plus the
  // reply wait, fits before the deadline.
  static const std::chrono::milliseconds kTransmitLimit;
  // A reply wait shortened below this to fit the deadline is not started at all.
  static const std::chrono::milliseconds kShortestReplyWait;
  // For Send(): no reply is awaited.
  static const int kNoReply = -1;

  struct Outcome {
    bool ok = false;
    std::string cause;           // why it failed; empty when |ok|
    std::vector<uint8_t> reply;  // the reply frame, header first, when one was awaited
  };

  // |adapter| is owned. The adapter is used as |config| says.
  CecInitiator(std::unique_ptr<CecAdapter> adapter, const CecConfig& config);
  ~CecInitiator();
  CecInitiator(const CecInitiator&) = delete;
  CecInitiator& operator=(const CecInitiator&) = delete;

  // Takes the adapter as an initiator and claims a logical address of the configured
  // type, unless the adapter already has logical addresses (another program, or an
  // earlier run, configured it), which are then used as they are. An adapter without a
  // physical address claims one later by itself. False, with |*error| set, when the
  // adapter cannot transmit, is held by another program, or refuses the claim.
  bool Claim(std::string* error);

  // Sends |body| (opcode and operands) from the adapter's logical address to
  // |destination|, and when |reply_opcode| is not kNoReply waits for that reply. Sends
  // nothing when the kernel could not be done with it before |deadline|.
  Outcome Send(uint8_t destination,
               const std::vector<uint8_t>& body,
               int reply_opcode,
               std::chrono::steady_clock::time_point deadline);

 private:
  const std::unique_ptr<CecAdapter> adapter_;
  const CecConfig config_;
};

}  // namespace cecapp

#endif  // CECAPP_CEC_INITIATOR_H_
