// The TV's native CEC application over the kernel's CEC framework: it answers the requests
// that reach the application instance "nimbara.native.cec" by talking to the audio system
// on a real HDMI-CEC bus.
//
//   "set_cec_receiver_on_off"        "onoff" (bool): true sends <User Control Pressed>
//                                    [Power On Function] then <User Control Released>,
//                                    false sends <Standby>
//   "get_cec_receiver_power_status"  sends <Give Device Power Status> and replies
//                                    "power status" (long): 1 on or going on, 0 in standby
//                                    or going to standby
//   "set_smart_home_sound_mode"      "sound mode" (long 0 to 4): sends the vendor command
//                                    configured for the mode; CEC has no standard one
//
// Every reply carries "return" (bool): true when every frame was acknowledged (and, for
// the power status, answered); false, with a log line naming the cause, otherwise.
//
//   cecapp::CecApplication application(std::move(device), config);
//   if (!application.Start(&error)) ...
//   directory->AddLocalInstance("nimbara.native.cec", &application);

#ifndef CECAPP_CEC_APPLICATION_H_
#define CECAPP_CEC_APPLICATION_H_

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "cecapp/cec_config.h"
#include "cecapp/cec_initiator.h"
#include "tvapp/message_handler.h"

namespace cecapp {

class CecAdapter;

class CecApplication : public ORVELL0300::CMessageHandler {
 public:
  // |adapter| is owned.
  CecApplication(std::unique_ptr<CecAdapter> adapter, const CecConfig& config);
  ~CecApplication() override;
  CecApplication(const CecApplication&) = delete;
  CecApplication& operator=(const CecApplication&) = delete;

  // Claims the logical address (CecInitiator::Claim). Call once, before any message.
  bool Start(std::string* error);

  // ORVELL0300::CMessageHandler: answers every message before its |deadline|.
  bool OnMessage(int message_type,
                 const ORVELL0300::CMessage& request,
                 Deadline deadline,
                 ORVELL0300::CMessage* reply) override;

  // Fills |reply| with the answer to |request|; nothing goes on the bus that could not be
  // done before |deadline|.
  void Answer(int message_type,
              const ORVELL0300::CMessage& request,
              std::chrono::steady_clock::time_point deadline,
              ORVELL0300::CMessage* reply);

 private:
  bool SetPower(bool on, std::chrono::steady_clock::time_point deadline);
  bool GetPowerStatus(std::chrono::steady_clock::time_point deadline, long* status);
  bool SetSoundMode(long mode, std::chrono::steady_clock::time_point deadline);

  // Sends |body| to the audio system and logs the outcome, |what| naming the message.
  bool Send(const std::string& what,
            const std::vector<uint8_t>& body,
            int reply_opcode,
            std::chrono::steady_clock::time_point deadline,
            std::vector<uint8_t>* reply);

  const CecConfig config_;
  CecInitiator initiator_;
};

}  // namespace cecapp

#endif  // CECAPP_CEC_APPLICATION_H_
