#include "phone/SessionWatchLink.h"

#include <filesystem>
#include <fstream>
#include <utility>

#include "phone/PairingClerk.h"

namespace tunevale::phone {

namespace {

Outcome failure(const link::Error& error) {
  return {error, {}, {}};
}

}  // namespace

void SessionWatchLink::connect(link::Session& session, PhoneApp& app, PairingClerk& clerk) {
  session_ = &session;
  app_ = &app;
  clerk_ = &clerk;
}

void SessionWatchLink::pair(const link::PairingAddress& address) {
  clerk_->pair(address);
}

void SessionWatchLink::answerPairing(std::string_view code, bool yes) {
  clerk_->answer(code, yes);
}

void SessionWatchLink::unpair() {
  clerk_->unpair();
}

void SessionWatchLink::sendMessage(const PlistDictionary& message, Done done) {
  session_->sendMessage(
      message,
      [done](const PlistDictionary& reply) {
        done({std::nullopt, reply, {}});
      },
      [done](const link::Error& error) { done(failure(error)); });
}

void SessionWatchLink::sendMessageData(const Bytes& data, Done done) {
  session_->sendMessageData(
      data,
      [done](ByteView reply) {
        done({std::nullopt, {}, Bytes(reply.begin(), reply.end())});
      },
      [done](const link::Error& error) { done(failure(error)); });
}

void SessionWatchLink::transferUserInfo(const PlistDictionary& userInfo, Done done) {
  await(userInfos_, session_->transferUserInfo(userInfo), std::move(done));
}

void SessionWatchLink::transferFile(const Bytes& contents, const PlistDictionary& metadata, Done done) {
  const std::string path = folder_ + "/outgoing";
  const std::string_view text = asText(contents);
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(text.data(), static_cast<std::streamsize>(text.size()));
  std::error_code error;
  const bool whole = std::filesystem::file_size(path, error) == contents.size() && !error;
  await(files_,
        whole ? session_->transferFile(path, metadata)
              : link::Session::Transfer(link::makeError(link::ErrorCode::insufficientSpace)),
        std::move(done));
  std::filesystem::remove(path, error);
}

void SessionWatchLink::updateApplicationContext(const PlistDictionary& context, Done done) {
  const link::Session::Transfer transfer = session_->updateApplicationContext(context);
  if (const auto* error = std::get_if<link::Error>(&transfer)) {
    failLater(std::move(done), *error);
  } else if (const std::uint64_t version = std::get<std::uint64_t>(transfer); version <= delivered_) {
    strand_.post([done = std::move(done)] { done({}); });
  } else {
    contexts_.emplace(version, std::move(done));
  }
}

void SessionWatchLink::await(Waiting& waiting, const link::Session::Transfer& transfer, Done done) {
  if (const auto* error = std::get_if<link::Error>(&transfer)) {
    failLater(std::move(done), *error);
  } else {
    waiting.emplace(std::get<std::uint64_t>(transfer), std::move(done));
  }
}

void SessionWatchLink::failLater(Done done, const link::Error& error) {
  strand_.post([done = std::move(done), error] { done(failure(error)); });
}

void SessionWatchLink::finish(Waiting& waiting, std::uint64_t number,
                              const std::optional<link::Error>& error) {
  auto ended = waiting.extract(number);
  if (!ended.empty()) ended.mapped()({error, {}, {}});
}

template <class Body, class Reply>
void SessionWatchLink::give(const AnswerOf<Body>& answer, const Reply& reply) {
  using Kind = typename AnswerOf<Body>::Kind;
  if (answer.kind == Kind::reply) {
    reply(answer.body);
  } else if (answer.kind == Kind::silence) {
    const auto place = withheld_.insert(withheld_.end(), {[reply] { static_cast<void>(reply); }, nullptr});
    place->timer = strand_.after(timing_.reply + timing_.dead, [this, place] { withheld_.erase(place); });
  }
  // A failure is a reply object that nobody keeps.
}

void SessionWatchLink::sessionDidReceiveMessage(const PlistDictionary& message, const MessageReply& reply) {
  give(app_->didReceiveMessage(message), reply);
}

void SessionWatchLink::sessionDidReceiveMessageData(ByteView data, const DataReply& reply) {
  give(app_->didReceiveMessageData(data), reply);
}

void SessionWatchLink::sessionDidReceiveUserInfo(const PlistDictionary& userInfo) {
  app_->didReceiveUserInfo(userInfo);
}

void SessionWatchLink::sessionDidReceiveApplicationContext(const PlistDictionary& context) {
  app_->didReceiveApplicationContext(context);
}

void SessionWatchLink::sessionDidReceiveFile(const std::string& path, const PlistDictionary& metadata) {
  std::error_code error;  // a file that cannot be looked at counts as empty
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  app_->didReceiveFile(error ? 0 : static_cast<std::size_t>(size), metadata);
}

void SessionWatchLink::sessionDidFinishUserInfoTransfer(std::uint64_t number, const PlistDictionary&,
                                                        const std::optional<link::Error>& error) {
  finish(userInfos_, number, error);
}

void SessionWatchLink::sessionDidFinishFileTransfer(std::uint64_t number,
                                                    const std::optional<link::Error>& error) {
  finish(files_, number, error);
}

void SessionWatchLink::sessionDidDeliverApplicationContext(std::uint64_t version) {
  delivered_ = std::max(delivered_, version);
  while (!contexts_.empty() && contexts_.begin()->first <= delivered_) {
    const Done done = std::move(contexts_.begin()->second);
    contexts_.erase(contexts_.begin());
    done({});
  }
}

void SessionWatchLink::sessionDidResetQueues() {
  app_->queuesDidReset();
}

void SessionWatchLink::sessionDidUnpair() {
  clerk_->watchDidUnpair();
}

void SessionWatchLink::sessionStateDidChange(const link::LinkState& state) {
  if (state.connected) clerk_->watchDidConnect();
  app_->linkStateDidChange(state);
}

}  // namespace tunevale::phone
