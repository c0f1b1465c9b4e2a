#pragma once

#include <boost/json/fwd.hpp>

namespace tunevale::host {

/// The JSON Patch (RFC 6902; add, remove and replace only) that turns `from` into `to`: empty when they are
/// equal. Members and elements are compared place by place, and a part that shares nothing is replaced whole.
/// Pure. Nesting is that of a screen; the callers' trees are no deeper than the layout.
boost::json::array jsonPatch(const boost::json::value& from, const boost::json::value& to);

}  // namespace tunevale::host
