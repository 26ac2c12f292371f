#include "cecapp/cec_application.h"

#include <linux/cec.h>

#include "base/logging.h"
#include "cecapp/cec_adapter.h"
#include "cecapp/cec_request_names.h"
#include "tvapp/application_base.h"

namespace cecapp {

namespace {

// What the plugin's "power status" says for a <Report Power Status> operand: 1 on or
// going on, 0 in standby or going to standby; -1 for a value CEC does not define.
long PowerStatus(uint8_t operand) {
  switch (operand) {
    case CEC_OP_POWER_STATUS_ON:
    case CEC_OP_POWER_STATUS_TO_ON:
      return 1;
    case CEC_OP_POWER_STATUS_STANDBY:
    case CEC_OP_POWER_STATUS_TO_STANDBY:
      return 0;
    default:
      return -1;
  }
}

}  // namespace

CecApplication::CecApplication(std::unique_ptr<CecAdapter> adapter, const CecConfig& config)
    : config_(config), initiator_(std::move(adapter), config) {}

CecApplication::~CecApplication() = default;

bool CecApplication::Start(std::string* error) {
  const std::chrono::milliseconds needed = CecInitiator::kTransmitLimit + config_.reply_timeout;
  if (config_.time_limit < needed) {
    LOG_AT(logging::LOG_WARNING)
        << "CEC application: the framework's time limit of " << config_.time_limit.count()
        << " ms is shorter than the kernel's transmit limit and the reply wait (" << needed.count()
        << " ms): the reply wait is cut short, and below "
        << (CecInitiator::kTransmitLimit + CecInitiator::kShortestReplyWait).count()
        << " ms the power status is never asked";
  }
  return initiator_.Claim(error);
}

bool CecApplication::OnMessage(int message_type,
                               const ORVELL0300::CMessage& request,
                               Deadline deadline,
                               ORVELL0300::CMessage* reply) {
  Answer(message_type, request, deadline, reply);
  return true;
}

void CecApplication::Answer(int message_type,
                            const ORVELL0300::CMessage& request,
                            std::chrono::steady_clock::time_point deadline,
                            ORVELL0300::CMessage* reply) {
  const std::string& name = request.GetName().text();
  bool done = false;
  bool on = false;
  long number = 0;
  if (message_type != ORVELL0300::kMessageTypeQuery) {
    LOG_AT(logging::LOG_ERROR) << "CEC application: refused a message of type " << message_type
                               << " (" << name << ")";
  } else if (name == kSetOnOff && request.Query(Utf8(kOnOffKey), on)) {
    done = SetPower(on, deadline);
  } else if (name == kGetPowerStatus) {
    done = GetPowerStatus(deadline, &number);
    if (done)
      reply->MakeResult(Utf8(kPowerStatusKey), number);
  } else if (name == kSetSoundMode && request.Query(Utf8(kSoundModeKey), number)) {
    done = SetSoundMode(number, deadline);
  } else {
    LOG_AT(logging::LOG_ERROR) << "CEC application: refused \"" << name
                               << "\": an unknown request, or its argument is missing or of "
                                  "another type";
  }
  // "return" comes first, as the framework's replies have it.
  ORVELL0300::CMessage answer;
  answer.MakeResult(Utf8(kReturnKey), done);
  for (const ORVELL0300::CMessage::Entry& entry : reply->entries())
    answer.AddEntry(entry.key, entry.value);
  *reply = answer;
}

bool CecApplication::SetPower(bool on, std::chrono::steady_clock::time_point deadline) {
  if (!on)
    return Send("<Standby>", {CEC_MSG_STANDBY}, CecInitiator::kNoReply, deadline, nullptr);
  return Send("<User Control Pressed> [Power On Function]",
              {CEC_MSG_USER_CONTROL_PRESSED, CEC_OP_UI_CMD_POWER_ON_FUNCTION},
              CecInitiator::kNoReply, deadline, nullptr) &&
         Send("<User Control Released>", {CEC_MSG_USER_CONTROL_RELEASED}, CecInitiator::kNoReply,
              deadline, nullptr);
}

bool CecApplication::GetPowerStatus(std::chrono::steady_clock::time_point deadline, long* status) {
  std::vector<uint8_t> reply;
  if (!Send("<Give Device Power Status>", {CEC_MSG_GIVE_DEVICE_POWER_STATUS},
            CEC_MSG_REPORT_POWER_STATUS, deadline, &reply)) {
    return false;
  }
  const long value = reply.size() >= 3 ? PowerStatus(reply[2]) : -1;
  if (value < 0) {
    LOG_AT(logging::LOG_ERROR) << "CEC application: <Report Power Status> from logical address "
                               << int{config_.audio_address} << " carries no known power status ("
                               << reply.size() << " bytes)";
    return false;
  }
  *status = value;
  return true;
}

bool CecApplication::SetSoundMode(long mode, std::chrono::steady_clock::time_point deadline) {
  auto command = config_.sound_mode_commands.find(mode);
  if (command == config_.sound_mode_commands.end()) {
    LOG_AT(logging::LOG_ERROR)
        << "CEC application: sound mode " << mode
        << " not set: HDMI-CEC has no standard sound-mode message, and no vendor command is "
           "configured for this mode";
    return false;
  }
  return Send("the command for sound mode " + std::to_string(mode) + " (" +
                  CommandText(command->second) + ")",
              command->second, CecInitiator::kNoReply, deadline, nullptr);
}

bool CecApplication::Send(const std::string& what,
                          const std::vector<uint8_t>& body,
                          int reply_opcode,
                          std::chrono::steady_clock::time_point deadline,
                          std::vector<uint8_t>* reply) {
  CecInitiator::Outcome outcome =
      initiator_.Send(config_.audio_address, body, reply_opcode, deadline);
  if (!outcome.ok) {
    LOG_AT(logging::LOG_ERROR) << "CEC application: " << what << " to logical address "
                               << int{config_.audio_address} << " failed: " << outcome.cause;
    return false;
  }
  LOG_AT(logging::LOG_INFO) << "CEC application: " << what << " to logical address "
                            << int{config_.audio_address}
                            << (reply ? " answered" : " acknowledged");
  if (reply)
    *reply = outcome.reply;
  return true;
}

}  // namespace cecapp
