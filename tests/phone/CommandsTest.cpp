#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "PhoneWorld.h"
#include "foundation/KeyedArchive.h"
#include "phone/LineSplitter.h"
#include "support/TemporaryFolder.h"

namespace tunevale::phone {
namespace {

using test::PhoneWorld;
using test::text;

/// Takes no part in anything: everything that is sent is kept.
struct CommandsTest : ::testing::Test {
  CommandsTest() { world.start(); }
  /// The error that a line brings about, or "".
  std::string errorOf(const std::string& line, Origin origin = Origin::script) {
    world.events.clear();
    world.command(line, origin);
    const auto errors = world.eventsNamed("error");
    EXPECT_EQ(errors.size() + world.eventsNamed("done").size(), 1u) << line;
    return errors.empty() ? "" : std::string(errors[0].at("text").as_string());
  }

  PhoneWorld world{{.pushes = false}};
};

TEST_F(CommandsTest, MessageDataCanBeAnyBytes) {
  EXPECT_EQ(errorOf(R"({"do":"data","raw":"AAEC"})"), "");
  EXPECT_EQ(world.eventsNamed("sent")[0].at("size").as_int64(), 3);
  EXPECT_EQ(world.eventsNamed("outcome")[0].at("code").as_int64(), 7011);
}

TEST_F(CommandsTest, TheConsoleTakesNoFilesByPathAndDoesNotQuit) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("picture");
  std::ofstream(path) << "not a picture";
  const std::string byPath = R"({"do":"file","path":")" + path + "\"}";
  EXPECT_EQ(errorOf(byPath), "");
  EXPECT_EQ(asText(world.watch.files.back()), "not a picture");
  EXPECT_NE(errorOf(byPath, Origin::console), "");
  EXPECT_NE(errorOf(R"({"do":"file","path":"/dev/zero"})"), "");  // a device has no end
  EXPECT_NE(errorOf(R"({"do":"file","path":")" + folder.path("none") + "\"}"), "");
  EXPECT_EQ(world.watch.files.size(), 1u);

  EXPECT_EQ(errorOf(R"({"do":"file","data":"aGk="})", Origin::console), "");
  EXPECT_EQ(asText(world.watch.files.back()), "hi");
  EXPECT_EQ(errorOf(R"({"do":"file","artwork":"x","format":"png"})", Origin::console), "");
  EXPECT_EQ(asText(world.watch.files.back()).substr(1, 3), "PNG");

  EXPECT_NE(errorOf(R"({"do":"quit"})", Origin::console), "");
  EXPECT_EQ(world.quits, 0);
  EXPECT_EQ(errorOf(R"({"do":"quit"})"), "");
  EXPECT_EQ(world.quits, 1);
}

TEST_F(CommandsTest, AWrongCommandDoesNothingAndSaysWhy) {
  const auto before = world.phone.consoleState();
  const std::string deep = std::string(400, '[') + std::string(400, ']');
  std::vector<std::string> wrong{"",
                                 deep,
                                 R"({"do":"play"} {"do":"play"})",
                                 "{\"do\":\"play\",\"ref\":\"\xFF\"}",
                                 R"({"do":"data","body":)" + deep + "}",
                                 R"({"do":"play","ref":")" + std::string(101, 'x') + "\"}",
                                 R"({"do":"set","refuse":")" + std::string(2000, 'x') + "\"}",
                                 R"({"do":"state","x":")" + std::string(kMostCommandLine, 'x') + "\"}"};
  std::istringstream more(R"([] { {} {"do":"dance"} {"do":"play","loud":true} {"do":"play","ref":5}
      {"do":"volume"} {"do":"volume","value":11} {"do":"volume","value":"5"} {"do":"volume","value":1e300}
      {"do":"play_song","index":15} {"do":"play_song","index":-1} {"do":"play_station","index":12}
      {"do":"play_station","type":"other","index":0} {"do":"push_chart","language":"klingon"}
      {"do":"set","locked":"yes"} {"do":"set","locked":true,"silnet":true} {"do":"set","refuse":null}
      {"do":"cached","add":"x"} {"do":"cached","add":[1]} {"do":"message"} {"do":"data"} {"do":"data","raw":"*"}
      {"do":"message","body":{"t":"str","v":"x"}} {"do":"message","archive":["no"],"body":{"t":"dict","v":{}}}
      {"do":"file"} {"do":"file","artwork":"x","format":"gif"}
      {"do":"file","data":"aGk=","metadata":{"t":"int","v":"1"}})");
  for (std::string line; more >> line;) wrong.push_back(line);
  for (const std::string& line : wrong) {
    EXPECT_NE(errorOf(line), "") << line.substr(0, 100);
    EXPECT_TRUE(world.eventsNamed("sent").empty());
  }
  EXPECT_EQ(world.phone.consoleState(), before);
}

TEST_F(CommandsTest, StateKeepsTheLatestOfTheTrafficAndTellsOfChangesOnly) {
  world.ask("nonsense <b>");
  const boost::json::object state = world.state();
  const auto& latest = state.at("log").as_array().at(0).as_object();
  EXPECT_EQ(latest.at("what").as_string(), "nonsense <b>");
  EXPECT_EQ(latest.at("direction").as_string(), "in");
  for (int i = 0; i < 500; ++i) world.ask("Hello");
  EXPECT_EQ(world.state().at("log").as_array().size(), 200u);
  const int changes = world.changes;
  world.command(R"({"do":"volume","value":6})");
  EXPECT_EQ(world.changes, changes) << "nothing is another than before";
  world.command(R"({"do":"volume","value":7})");
  EXPECT_EQ(world.changes, changes + 1);
  world.command(R"({"do":"play_song","index":2})");
  EXPECT_EQ(world.state().at("song").at("album").as_string(), "Salt & Cinder") << "no entities";
  world.command(R"({"do":"play_song","index":1})");
  EXPECT_EQ(world.state().at("song").at("artist").as_string(), "The Quillon Tides") << "no featured ones";
  world.command(R"({"do":"set","locked":true,"reachable":false})");
  EXPECT_TRUE(world.watch.phoneLocked && !world.watch.phoneActive) << "the watch is told";
  world.command(R"({"do":"set","pushes":true})");
  EXPECT_EQ(world.watch.language, "english") << "what was kept back goes";
}

TEST(LineSplitterTest, CutsLinesWhereverTheBytesAreCut) {
  const std::string stream = "one\r\n\ntwo\n1234567\n12345678\r\n123456789\nlong long long\nlast";
  for (std::size_t step = 1; step <= stream.size(); ++step) {
    std::string seen;
    LineSplitter splitter(
        8, [&](std::string_view line) { seen.append(line).append("|"); }, [&] { seen += "!|"; });
    for (std::size_t at = 0; at < stream.size(); at += step)
      splitter.feed(std::string_view(stream).substr(at, step));
    splitter.finish();
    EXPECT_EQ(seen, "one||two|1234567|12345678|!|!|last|") << step;
  }
}

}  // namespace
}  // namespace tunevale::phone
