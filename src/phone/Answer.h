#pragma once

#include "foundation/Bytes.h"
#include "foundation/PlistDictionary.h"

namespace tunevale::phone {

/// What is to be done about a request of the watch.
template <typename Body>
struct AnswerOf {
  enum class Kind {
    reply,    ///< call the reply object with the body
    silence,  ///< keep the reply object uncalled, until the other end has given up
    failure   ///< drop the reply object, so that the link reports an error
  };
  Kind kind = Kind::reply;
  Body body;
};

using Answer = AnswerOf<PlistDictionary>;
using DataAnswer = AnswerOf<Bytes>;

}  // namespace tunevale::phone
