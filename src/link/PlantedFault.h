#pragma once

namespace tunevale::link {

/// Mistakes that the crash tests must find, compiled in by tests only: -DTUNEVALE_PLANTED_FAULT=number.
enum class PlantedFault {
  none,
  ackBeforeCommit,  // received items are acknowledged before they are kept
  cursorApart,      // a received row and the cursor are two transactions
  removalSplit,     // a received row goes when it is handed over, not when it is handled
  deleteOnSend,     // a row goes when it is sent, not when it is acknowledged
  normalSync,       // commits do not wait for the disk
};

#ifndef TUNEVALE_PLANTED_FAULT
#define TUNEVALE_PLANTED_FAULT 0
#endif
constexpr PlantedFault kPlantedFault = static_cast<PlantedFault>(TUNEVALE_PLANTED_FAULT);

}  // namespace tunevale::link
