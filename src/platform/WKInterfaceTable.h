#pragma once

#include <cstddef>
#include <string_view>

#include "platform/RowController.h"
#include "platform/WKInterfaceObject.h"

namespace tunevale {

/// Rows of one or more row types, each with its elements and its row controller.
class WKInterfaceTable : public WKInterfaceObject {
 public:
  static constexpr Kind kKind = Kind::table;
  struct Row {
    std::string type;
    std::unique_ptr<WKInterfaceObject> tree;
    std::shared_ptr<RowController> controller;
  };
  /// Makes one row of a type, outlets and actions connected; the layout's loader provides it.
  using RowFactory = std::function<Row(std::string_view rowType)>;
  WKInterfaceTable(ElementAttributes attributes, RowFactory factory)
      : WKInterfaceObject(kKind, std::move(attributes)), factory_(std::move(factory)) {}

  const std::vector<Row>& rows() const { return rows_; }
  /// Replaces every row by a fresh one. A closed table stays empty.
  void setNumberOfRows(std::size_t count, std::string_view rowType);
  /// The controller of a row as the class that its row type names; null past the end or for another class. It
  /// lives until the rows are replaced.
  template <class T>
  T* rowControllerAtIndex(std::size_t index) const {
    return index < rows_.size() ? dynamic_cast<T*>(rows_[index].controller.get()) : nullptr;
  }
  /// Lets all rows go, for good: rows may hold their screen, which would otherwise never end.
  void close();

 private:
  void changeHandlerDidChange() override;

  RowFactory factory_;
  std::vector<Row> rows_;
  bool closed_ = false;
};

}  // namespace tunevale
