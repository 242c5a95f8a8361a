#pragma once

#include <cstdint>

#include "ui/event_dispatcher.h"
#include "ui/non_copyable.h"

namespace hxsdk::ui {

// Base of everything that fires events or owns handlers. Destroying it removes every handler
// registered on it and every handler it owns from the dispatcher.
class event_object : non_copyable_non_moveable {
 public:
  virtual ~event_object();

  // A handler on this object's own event, owned by this object.
  connection_id connect(event id, event_handler handler);
  // A handler on another object's event, owned by this one (dropped when either goes).
  connection_id connect_to(event_object& source, event id, event_handler handler);

  // Fires on this object; true when it had handlers for the event.
  bool fire(event id, std::uint64_t argument = 0, std::int32_t phase = kPhaseDone,
            std::int32_t flag = 1);
  bool has_handler(event id) const;

 protected:
  event_object() = default;
};

}  // namespace hxsdk::ui
