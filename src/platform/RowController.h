#pragma once

namespace tunevale {

class Connections;

/// Behind one table row: outlets to its elements and what its buttons do. Main queue.
class RowController {
 public:
  virtual ~RowController() = default;
  /// Names this class's outlets and actions, once, before any other use.
  virtual void connect(Connections& connections) = 0;
};

}  // namespace tunevale
