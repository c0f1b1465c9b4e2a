// The numbers of docs/phone-link.md, which Python's library made: this end reads and computes the same.
#include <fstream>
#include <iterator>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "foundation/PropertyList.h"
#include "link/FrameReader.h"
#include "link/LinkLimits.h"
#include "link/PairingAddress.h"
#include "link/PairingSecrets.h"
#include "tagged/TaggedJson.h"

namespace tunevale::link {
namespace {

namespace json = boost::json;

json::value vectors(const std::string& name) {
  std::ifstream file(TUNEVALE_SOURCE_DIR "/tests/link/vectors/" + name + ".json", std::ios::binary);
  return json::parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

std::string text(const json::value& from, const char* key) {
  return std::string(from.at(key).as_string());
}

Bytes fromHex(const std::string& hex) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<std::byte>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

Bytes32 bytes32(const json::value& from, const char* key) {
  return keyHashFromHex(text(from, key)).value();
}

PlistValue valueIn(const json::value& tagged) {
  std::string error;
  const auto value = fromTaggedJson(tagged, error);
  EXPECT_TRUE(value) << error;
  return value.value_or(PlistValue());
}

void expectFrame(const json::value& vector) {
  SCOPED_TRACE(text(vector, "name") + " " + text(vector, "hex"));
  const Bytes bytes = fromHex(text(vector, "hex"));
  FrameReader reader(kMostFrameBody);
  for (const std::byte& one : bytes) reader.append({&one, 1});
  const auto frame = reader.next();
  ASSERT_TRUE(frame);
  EXPECT_EQ(static_cast<int>(frame->type), vector.at("type").as_int64());
  EXPECT_EQ(frame->flags, vector.at("flags").as_int64());
  EXPECT_EQ(std::to_string(frame->id), text(vector, "id"));
  if (vector.at("body").is_null()) {
    EXPECT_TRUE(frame->body.empty());
  } else {
    EXPECT_EQ(readPropertyList(frame->body), valueIn(vector.at("body")));
  }
  Bytes again;
  appendFrame(again, *frame);
  EXPECT_EQ(again, bytes);
  EXPECT_FALSE(reader.next());
}

TEST(Vectors, FramesAreReadAsTheyAreMeant) {
  const json::value all = vectors("frames");
  for (const json::value& vector : all.at("frames").as_array()) expectFrame(vector);
  EXPECT_GE(all.at("frames").as_array().size(), 25U);
  for (const char* kind : {"broken", "incomplete"}) {
    for (const json::value& vector : all.at(kind).as_array()) {
      FrameReader reader(kMostFrameBody);
      reader.append(fromHex(text(vector, "hex")));
      EXPECT_FALSE(reader.next()) << text(vector, "name");
      EXPECT_EQ(reader.broken() == nullptr, kind[0] == 'i') << text(vector, "name");
    }
  }
}

TEST(Vectors, PairingComesToTheSameNumbers) {
  const json::value v = vectors("pairing");
  EXPECT_EQ(sha256({fromHex(text(v, "phoneKey"))}), bytes32(v, "fP"));
  EXPECT_EQ(sha256({fromHex(text(v, "watchKey"))}), bytes32(v, "fW"));
  const PairingChannel channel{bytes32(v, "K"), bytes32(v, "fW"), bytes32(v, "fP")};
  const Bytes32 watchNonce = bytes32(v, "nW");
  const Bytes32 phoneNonce = bytes32(v, "nP");
  EXPECT_EQ(pairingCommitment(channel, phoneNonce), bytes32(v, "commit"));
  EXPECT_EQ(pairingCode(channel, watchNonce, phoneNonce), text(v, "code"));
  const auto address = parsePairingAddress(text(v, "address"));
  ASSERT_TRUE(address && address->key && address->token);
  EXPECT_EQ(*address->key, channel.watch);
  EXPECT_EQ(inWords(*address), text(v, "address"));
  EXPECT_EQ(fingerprint(KeyHash{std::byte{0xAB}}), "ab00 0000 0000 0000");
  for (const auto& [role, name] : {std::pair(Role::watch, "watch"), std::pair(Role::phone, "phone")}) {
    EXPECT_EQ(confirmationProof(channel, role, watchNonce, phoneNonce), bytes32(v.at("proof"), name));
    EXPECT_EQ(tokenProof(channel, role, *address->token), bytes32(v.at("tokenProof"), name));
  }
  for (const char* transcript : {"byCode", "byToken"}) {
    for (const json::value& frame : v.at(transcript).as_array()) expectFrame(frame);
  }
  expectFrame(v.at("refused"));
}

}  // namespace
}  // namespace tunevale::link
