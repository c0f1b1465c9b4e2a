#pragma once

#include <future>
#include <optional>
#include <thread>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/packaged_task.hpp>
#include <boost/asio/post.hpp>

#include "http/HttpServer.h"

namespace tunevale::http {

/// A server whose loop runs on a thread of its own, so that tests may wait for answers.
class ServerOnThread {
 public:
  ServerOnThread() : server_(std::in_place, loop_, Address{}), thread_([this] { loop_.run(); }) {}
  ~ServerOnThread() {
    onLoop([this] {
      server_.reset();
      work_.reset();
    });
    // Returns by itself once every connection has ended.
    thread_.join();
  }
  HttpServer& operator*() { return *server_; }
  HttpServer* operator->() { return &*server_; }
  std::uint16_t port() const { return server_->port(); }

  /// Runs work on the loop's thread and waits for it.
  template <class Work>
  void onLoop(Work work) {
    boost::asio::post(loop_, std::packaged_task<void()>(work)).get();
  }

 private:
  boost::asio::io_context loop_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{loop_.get_executor()};
  std::optional<HttpServer> server_;
  std::thread thread_;
};

}  // namespace tunevale::http
