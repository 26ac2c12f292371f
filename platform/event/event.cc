#include "event/event.h"

#include "ipc/pickle.h"

namespace evt {

Event::Event(int id) : id_(id) {}

Event::~Event() = default;

void Event::SetData(const Pickle& pickle) {
  data_.assign(static_cast<const char*>(pickle.data()), pickle.size());
}

}  // namespace evt
