#include "tools/avctl/command_context.h"

namespace avctl {

CommandContext::CommandContext(const GlobalOptions& options, std::ostream* out, std::ostream* err)
    : options_(options), out_(out), err_(err) {}

bool CommandContext::Print(const Json& json) {
  *out_ << (options_.pretty ? json.dump(2, ' ', false, Json::error_handler_t::replace)
                            : JsonToLine(json))
        << std::endl;
  return out_->good();
}

int CommandContext::Reply(const Json& json) {
  return Print(json) ? kExitOk : Fail("cannot write the reply to the standard output");
}

int CommandContext::PrintText(const std::string& text) {
  *out_ << text << std::flush;
  return *out_ ? kExitOk : Fail("cannot write to the standard output");
}

void CommandContext::Note(const std::string& message) {
  *err_ << "avctl: " << message << std::endl;
}

int CommandContext::Fail(const std::string& message) {
  *err_ << "avctl: " << message << std::endl;
  return kExitFailure;
}

}  // namespace avctl
