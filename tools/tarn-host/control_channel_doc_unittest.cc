// The byte examples in docs/control-channel.md are what the code sends.

#include <cctype>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "gtest/gtest.h"
#include "ipc/ipc_sync_message.h"
#include "tools/control/control_messages.h"

namespace {

// The bytes of the code block after "<!-- |marker| -->": on each line, the two-digit hex
// tokens up to the first other token.
std::string DocumentBytes(const std::string& doc, const std::string& marker) {
  const size_t at = doc.find("<!-- " + marker + " -->");
  const size_t begin = doc.find("```text\n", at);
  const size_t end = doc.find("```\n", begin + 8);
  if (at == std::string::npos || begin == std::string::npos || end == std::string::npos) {
    ADD_FAILURE() << "no block " << marker;
    return std::string();
  }
  std::istringstream lines(doc.substr(begin + 8, end - begin - 8));
  std::string line;
  std::string bytes;
  while (std::getline(lines, line)) {
    std::istringstream tokens(line);
    std::string token;
    while (tokens >> token && token.size() == 2 && std::isxdigit(token[0]) &&
           std::isxdigit(token[1])) {
      bytes.push_back(static_cast<char>(std::stoi(token, nullptr, 16)));
    }
  }
  return bytes;
}

// |message|'s bytes, with the message id of a synchronous one set to 1 as in the examples.
std::string Bytes(const IPC::Message& message) {
  std::string bytes(static_cast<const char*>(message.data()), message.size());
  if (message.is_sync() || message.is_reply()) {
    const int id = 1;
    bytes.replace(IPC::Message::kHeaderSize, sizeof(id), reinterpret_cast<const char*>(&id),
                  sizeof(id));
  }
  return bytes;
}

TEST(ControlChannelDocTest, ExamplesAreWhatTheCodeSends) {
  std::ifstream file(std::string(TARN_SOURCE_DIR) + "/docs/control-channel.md");
  std::stringstream text;
  text << file.rdbuf();
  const std::string doc = text.str();
  ASSERT_FALSE(doc.empty());

  bool subscribed = false;
  ControlMsg_Subscribe subscribe(35, &subscribed);
  EXPECT_EQ(DocumentBytes(doc, "bytes:subscribe"), Bytes(subscribe));
  std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(&subscribe));
  ControlMsg_Subscribe::Schema::WriteReplyParam(reply.get(),
                                                ControlMsg_Subscribe::ReplyParam(true));
  EXPECT_EQ(DocumentBytes(doc, "bytes:subscribe-reply"), Bytes(*reply));
  EXPECT_EQ(DocumentBytes(doc, "bytes:event"), Bytes(ControlMsg_Event(35, {"tv-1", "av_plugin"})));
}

}  // namespace
