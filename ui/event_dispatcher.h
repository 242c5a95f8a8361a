#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "ui/event_ids.h"
#include "ui/non_copyable.h"

namespace hxsdk::ui {

using event_handler = std::function<void(const event_info&)>;
using connection_id = std::uint64_t;

// The one switchboard through which toolkit objects talk: handlers are registered for a
// (source, event) pair and called synchronously, in registration order, when the source fires
// that event. Every connection also has an owner; destroying the owner drops it. Used on the
// user-interface thread only: it takes no locks.
class event_dispatcher : non_copyable_non_moveable {
 public:
  static event_dispatcher& instance();

  // Registers `handler` for `id` fired on `source`; it is dropped when `owner` (or `source`)
  // is destroyed, or by disconnect. Returns the connection's id.
  connection_id connect(event_object* source, event_object* owner, event id, event_handler handler);
  void disconnect(connection_id dropped);

  // Calls every handler registered for (source, id) with one event_info of these values.
  // Handlers may connect and disconnect freely while it runs: it calls a copy of the list.
  // Returns true when the source has a handler list for the event, false otherwise.
  bool fire(event_object* source, event id, std::int32_t phase, std::int32_t flag,
            std::uint64_t argument);

  bool has_handler(const event_object* source, event id) const;

  // Drops every connection whose source or owner is `object`.
  void remove_object(const event_object* object);

 private:
  event_dispatcher() = default;

  struct connection {
    connection_id id;
    const event_object* owner;
    event_handler handler;
  };
  struct key {
    const event_object* source;
    event id;
    friend bool operator==(const key&, const key&) = default;
  };
  struct key_hash {
    std::size_t operator()(const key& k) const;
  };

  std::unordered_map<key, std::vector<connection>, key_hash> handlers_;
  std::unordered_map<const event_object*, std::vector<key>> owned_;
  connection_id next_id_ = 1;
};

}  // namespace hxsdk::ui
