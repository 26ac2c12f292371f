#include "tools/tarn-host/host_config_reader.h"

#include <string>

#include "base/logging.h"
#include "gtest/gtest.h"
#include "tools/tarn-host/host_config.h"

namespace tarn_host {
namespace {

const char kValid[] = R"(<?xml version="1.0"?>
<config>
  <!-- the runtime's and the host's options -->
  <option name="av_log_level" value="LOG_ERROR"/>
  <option name="min_log_level" value="LOG_WARNING"/>
  <option name="reply_time_limit_ms" value="250"/>
  <option name="av_log_level" value="LOG_VERBOSE"/>
  <component library="/opt/tarn/lib/libtarn_av_plugin.so">
    <link channel="/tmp/a.sock" mode="named_server"/>
    <link channel="/tmp/b.sock" mode="client"/>
  </component>
  <application name="my.app" endpoint="unix:/tmp/my.sock"/>
  <application name="nimbara.native.cec" endpoint="cec:/dev/cec1" device_type="playback"
               audio_address="14" reply_timeout_ms="2500">
    <sound_mode number="4" command="A0 00 80 45 0a"/>
    <sound_mode number="0" command="89 00"/>
  </application>
  <control channel="/tmp/control.sock"/>
</config>
)";

TEST(HostConfigReaderTest, ReadsEveryElementInOrder) {
  HostConfig config;
  std::string error;
  ASSERT_TRUE(HostConfigReader::Parse(kValid, "host.xml", &config, &error)) << error;

  const std::map<std::string, std::string> options = {{"av_log_level", "LOG_VERBOSE"},
                                                      {"min_log_level", "LOG_WARNING"},
                                                      {"reply_time_limit_ms", "250"}};
  EXPECT_EQ(options, config.options);  // the later av_log_level wins
  EXPECT_EQ(logging::LOG_WARNING, config.min_log_level);
  EXPECT_EQ(250, config.reply_time_limit.count());

  ASSERT_EQ(1u, config.components.size());
  EXPECT_EQ("/opt/tarn/lib/libtarn_av_plugin.so", config.components[0].library);
  ASSERT_EQ(2u, config.components[0].links.size());
  EXPECT_EQ("/tmp/a.sock", config.components[0].links[0].channel);
  EXPECT_EQ(IPC::Channel::MODE_NAMED_SERVER, config.components[0].links[0].mode);
  EXPECT_EQ(IPC::Channel::MODE_CLIENT, config.components[0].links[1].mode);

  ASSERT_EQ(2u, config.applications.size());
  EXPECT_EQ("my.app", config.applications[0].name);
  EXPECT_EQ(ApplicationConfig::kUnixSocket, config.applications[0].endpoint);
  EXPECT_EQ("/tmp/my.sock", config.applications[0].socket_path);
  const cecapp::CecConfig& cec = config.applications[1].cec;
  EXPECT_EQ(ApplicationConfig::kKernelCec, config.applications[1].endpoint);
  EXPECT_EQ("/dev/cec1", cec.device_path);
  EXPECT_EQ(cecapp::DeviceType::kPlayback, cec.device_type);
  EXPECT_EQ(14, cec.audio_address);
  EXPECT_EQ(2500, cec.reply_timeout.count());
  const std::map<long, std::vector<uint8_t>> commands = {{0, {0x89, 0x00}},
                                                         {4, {0xa0, 0x00, 0x80, 0x45, 0x0a}}};
  EXPECT_EQ(commands, cec.sound_mode_commands);
  EXPECT_EQ("/tmp/control.sock", config.control_channel);

  EXPECT_TRUE(config.warnings.empty());

  // An option nobody reads is kept, empty value and all, with a warning that names those
  // that are read.
  HostConfig unknown;
  std::string text = kValid;
  text.insert(text.find("<config>\n") + 9, "<option name='min_loglevel' value=''/>\n");
  ASSERT_TRUE(HostConfigReader::Parse(text, "u.xml", &unknown, &error)) << error;
  EXPECT_EQ(std::vector<std::string>{"u.xml:3: option \"min_loglevel\" is read by neither the "
                                     "host nor the AV plugin (they read min_log_level, "
                                     "reply_time_limit_ms, trace, av_log_level); it is handed "
                                     "to the components as it is"},
            unknown.warnings);
  EXPECT_EQ("", unknown.options.at("min_loglevel"));

  // What --print-config writes reads back to the same configuration.
  config.options["quoted"] = "a \"b\" <c> & 'd'";
  HostConfig again;
  ASSERT_TRUE(HostConfigReader::Parse(config.ToXml(), "again.xml", &again, &error)) << error;
  EXPECT_EQ(config.ToXml(), again.ToXml());
  EXPECT_EQ("a \"b\" <c> & 'd'", again.options["quoted"]);
}

// A configuration with one line per element, so that errors name predictable lines.
std::string Config(const std::string& body) {
  return "<config>\n" + body + "</config>\n";
}

const char kComponent[] =
    "<component library=\"p.so\">\n<link channel=\"/t/l\" mode=\"named_server\"/>\n"
    "</component>\n";
const char kControl[] = "<control channel=\"/t/c\"/>\n";

TEST(HostConfigReaderTest, EachFaultIsNamedWithItsLine) {
  const std::string ok = std::string(kComponent) + kControl;      // lines 2 to 5
  const std::string long_path = "/tmp/" + std::string(103, 'x');  // 108 bytes
  const std::string kCec = "<application name='nimbara.native.cec' endpoint='cec:/dev/cec0' ";
  const std::string sixteen_bytes = "89 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00";
  const struct {
    std::string text;
    std::string error;  // after "f.xml:"
  } rows[] = {
      {"", "1: malformed XML: the file holds no XML"},
      {"<config>\n<option name='a' value='b'>\n</config>",
       "2: malformed XML: an element is closed by a tag of another name"},
      {"<settings/>", "1: the root element is <settings>; expected <config>"},
      {"<config\n version='1'/>", "2: unknown attribute \"version\" on <config>"},
      {Config(""), "1: <config> has no <component>"},
      {Config(kComponent), "1: <config> has no <control>"},
      {Config(ok + "<plugin/>\n"), "6: unknown element <plugin> in <config>"},
      // Options.
      {Config("<option name='' value='x'/>\n" + ok),
       "2: the \"name\" attribute of <option> is empty"},
      {Config("<option name='a'/>\n" + ok), "2: <option> needs a \"value\" attribute"},
      {Config("<option name='min_log_level' value='INFO'/>\n" + ok),
       "2: option \"min_log_level\" must be one of LOG_VERBOSE, LOG_INFO, LOG_WARNING, "
       "LOG_ERROR, LOG_ERROR_REPORT, LOG_FATAL, not \"INFO\""},
      {Config("<option name='reply_time_limit_ms' value='3600001'/>\n" + ok),
       "2: option \"reply_time_limit_ms\" must be a whole number of milliseconds from 0 "
       "to 3600000, not \"3600001\""},
      // Components and links.
      {Config("<component library='p' path='q'/>\n" + std::string(kControl)),
       "2: unknown attribute \"path\" on <component>"},
      {Config("<component library='p'>\n</component>\n" + std::string(kControl)),
       "2: <component> has no <link>"},
      {Config("<component library='p'>\n<channel/>\n</component>\n" + std::string(kControl)),
       "3: unknown element <channel> in <component>"},
      {Config("<component library='p'>\n<link mode='server'/>\n</component>\n" +
              std::string(kControl)),
       "3: <link> needs a \"channel\" attribute"},
      {Config("<component library='p'>\n<link channel='/l'\n mode='NAMED_SERVER'/>\n"
              "</component>\n" +
              std::string(kControl)),
       "4: unknown link mode \"NAMED_SERVER\"; expected server, client, named_server or "
       "named_client"},
      {Config("<component library='p'>\n<link channel='" + long_path +
              "' mode='server'/>\n</component>\n" + kControl),
       "3: the socket path \"" + long_path + "\" is longer than 107 bytes"},
      // Applications.
      {Config(ok + "<application name='nimbara.native.cec' endpoint='tcp:1'/>\n"),
       "6: unknown endpoint \"tcp:1\"; expected \"builtin\", \"unix:SOCKET-PATH\" or "
       "\"cec:DEVICE\""},
      {Config(ok + "<application name='nimbara.native.cec' endpoint='unix:'/>\n"),
       "6: the socket path in the \"endpoint\" attribute of <application> is empty"},
      {Config(ok + "<application name='my.app' endpoint='builtin'/>\n"),
       "6: no built-in application \"my.app\"; the built-in one is \"nimbara.native.cec\""},
      // The kernel CEC application.
      {Config(ok + "<application name='my.app' endpoint='cec:/dev/cec0'/>\n"),
       "6: the kernel CEC application can only be \"nimbara.native.cec\", not \"my.app\""},
      {Config(ok + "<application name='nimbara.native.cec' endpoint='cec:'/>\n"),
       "6: the device path in the \"endpoint\" attribute of <application> is empty"},
      {Config(ok + "<application name='x' endpoint='unix:/s' device_type='tv'/>\n"),
       "6: unknown attribute \"device_type\" on <application>"},
      {Config(ok + kCec + "device_type='TV'/>\n"),
       "6: unknown device type \"TV\"; expected tv, specific, playback, recording or tuner"},
      {Config(ok + kCec + "audio_address='15'/>\n"),
       "6: \"audio_address\" must be a logical address from 0 to 14, not \"15\""},
      {Config(ok + kCec + "reply_timeout_ms='99'/>\n"),
       "6: \"reply_timeout_ms\" must be a whole number of milliseconds from 100 to 10000, "
       "not \"99\""},
      {Config(ok + kCec + ">\n<mode/>\n</application>\n"),
       "7: unknown element <mode> in <application>"},
      {Config(ok + kCec + ">\n<sound_mode number='5' command='89'/>\n</application>\n"),
       "7: \"number\" must be a sound mode from 0 to 4, not \"5\""},
      {Config(ok + kCec + ">\n<sound_mode number='1' command='" + sixteen_bytes +
              "'/>\n</application>\n"),
       "7: the command \"" + sixteen_bytes +
           "\" must be 1 to 15 bytes of two hexadecimal digits, separated by blanks"},
      {Config(ok + kCec +
              ">\n<sound_mode number='1' command='89'/>\n"
              "<sound_mode number='1' command='8a'/>\n</application>\n"),
       "8: sound mode 1 is given twice"},
      {Config(ok + "<application name='a' endpoint='unix:/s1'/>\n"
                   "<application name='a' endpoint='unix:/s2'/>\n"),
       "7: application \"a\" is already given at line 6"},
      // The control channel, and socket paths used twice.
      {Config(ok + "<control channel='/t/d'/>\n"), "6: a second <control>; the first is at line 5"},
      {Config(kComponent + std::string("<control channel='/t/l'/>\n")),
       "5: the socket path \"/t/l\" is already used at line 3"},
      {Config(ok + "<application name='a' endpoint='unix:/t/c'/>\n"),
       "6: the socket path \"/t/c\" is already used at line 5"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    HostConfig config;
    config.control_channel = "untouched";
    std::string error;
    EXPECT_FALSE(HostConfigReader::Parse(row.text, "f.xml", &config, &error));
    EXPECT_EQ("f.xml:" + row.error, error);
    EXPECT_EQ("untouched", config.control_channel);
  }
}

// A file that cannot be read is one of tarn-host's cases in host_process_test.
TEST(HostConfigReaderTest, LoadRefusesAFolder) {
  HostConfig config;
  std::string error;
  EXPECT_FALSE(HostConfigReader::Load("/tmp", &config, &error));
  EXPECT_EQ("/tmp: a folder, not a configuration file", error);
}

}  // namespace
}  // namespace tarn_host
