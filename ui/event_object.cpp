#include "ui/event_object.h"

namespace hxsdk::ui {

event_object::~event_object() {
  event_dispatcher::instance().remove_object(this);
}

connection_id event_object::connect(event id, event_handler handler) {
  return event_dispatcher::instance().connect(this, this, id, std::move(handler));
}

connection_id event_object::connect_to(event_object& source, event id, event_handler handler) {
  return event_dispatcher::instance().connect(&source, this, id, std::move(handler));
}

bool event_object::fire(event id, std::uint64_t argument, std::int32_t phase, std::int32_t flag) {
  return event_dispatcher::instance().fire(this, id, phase, flag, argument);
}

bool event_object::has_handler(event id) const {
  return event_dispatcher::instance().has_handler(this, id);
}

}  // namespace hxsdk::ui
