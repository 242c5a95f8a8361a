#include "ui/event_dispatcher.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace hxsdk::ui {

event_dispatcher& event_dispatcher::instance() {
  static event_dispatcher dispatcher;
  return dispatcher;
}

std::size_t event_dispatcher::key_hash::operator()(const key& k) const {
  return std::hash<const void*>{}(k.source) ^
         (static_cast<std::size_t>(k.id) * 0x9E3779B97F4A7C15u);
}

connection_id event_dispatcher::connect(event_object* source, event_object* owner, event id,
                                        event_handler handler) {
  const connection_id made = next_id_++;
  const key where{source, id};
  handlers_[where].push_back({made, owner, std::move(handler)});
  // Both ends remember the list: destroying either must drop the connection.
  for (const event_object* end :
       {static_cast<const event_object*>(owner), static_cast<const event_object*>(source)}) {
    std::vector<key>& places = owned_[end];
    if (std::find(places.begin(), places.end(), where) == places.end()) {
      places.push_back(where);
    }
  }
  return made;
}

void event_dispatcher::disconnect(connection_id dropped) {
  for (auto list = handlers_.begin(); list != handlers_.end();) {
    std::erase_if(list->second, [&](const connection& c) { return c.id == dropped; });
    list = list->second.empty() ? handlers_.erase(list) : std::next(list);
  }
}

bool event_dispatcher::fire(event_object* source, event id, std::int32_t phase, std::int32_t flag,
                            std::uint64_t argument) {
  const auto found = handlers_.find(key{source, id});
  if (found == handlers_.end()) {
    return false;
  }
  // A copy: a handler may connect, disconnect or destroy objects while the others still run.
  const std::vector<connection> calls = found->second;
  const event_info info{source, id, phase, flag, argument};
  for (const connection& c : calls) {
    c.handler(info);
  }
  return true;
}

bool event_dispatcher::has_handler(const event_object* source, event id) const {
  return handlers_.contains(key{source, id});
}

void event_dispatcher::remove_object(const event_object* object) {
  const auto owned = owned_.find(object);
  if (owned == owned_.end()) {
    return;
  }
  const std::vector<key> places = std::move(owned->second);
  owned_.erase(owned);
  for (const key& where : places) {
    const auto list = handlers_.find(where);
    if (list == handlers_.end()) {
      continue;
    }
    if (where.source == object) {
      handlers_.erase(list);
      continue;
    }
    std::erase_if(list->second, [&](const auto& c) { return c.owner == object; });
    if (list->second.empty()) {
      handlers_.erase(list);
    }
  }
}

}  // namespace hxsdk::ui
