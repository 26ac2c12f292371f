#include "event/event.h"

#include "ipc/pickle.h"

namespace evt {

Event::Event(int id) : id_(id) {}

Event::~Event() = default;

void Event::SetData(const Pickle& pickle) {
  data_.assign(static_cast<const char*>(pickle.data()), pickle.size());
}

std::vector<std::string> Event::ReadStrings() const {
  Pickle pickle(data_.data(), static_cast<int>(data_.size()));
  PickleIterator iter(pickle);
  std::vector<std::string> strings;
  std::string text;
  while (iter.ReadString(&text))
    strings.push_back(text);
  return strings;
}

}  // namespace evt
