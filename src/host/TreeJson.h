#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <boost/json/fwd.hpp>

#include "platform/WKInterfaceObject.h"

namespace tunevale::host {

/// Gives the ID under which a display may ask for a picture; "" for none.
using ImageNamer = std::function<std::string(const ImageSource&)>;

/// An element with all below it as docs/display-api.md describes a node. IDs are paths of positions from the
/// root ("0", "0.2", "0.2/3" for a row, "0.2/3.0" in it), so that equal trees give equal JSON however often
/// they are built. Main queue.
boost::json::object treeJson(const WKInterfaceObject& root, const ImageNamer& imageId);

/// The text, well-formed UTF-8 whatever it was.
boost::json::string textJson(std::string_view text);

/// The word for a kind of element, as in the layout.
const char* kindName(WKInterfaceObject::Kind kind);

}  // namespace tunevale::host
