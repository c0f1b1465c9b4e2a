#include "phone/Events.h"

#include <utility>

#include <boost/json.hpp>

namespace tunevale::phone {

namespace json = boost::json;

void Events::emit(std::string_view name, json::object members, std::string_view ref) {
  json::object event{{"event", name}};
  if (!ref.empty()) event["ref"] = ref;
  for (auto& member : members) event.insert_or_assign(member.key(), std::move(member.value()));
  observer_.phoneDidEmit(json::serialize(event));
}

void Events::error(std::string_view text, std::string_view ref) {
  emit("error", {{"text", text}}, ref);
}

}  // namespace tunevale::phone
