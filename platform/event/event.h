// One event on the platform's event bus: an id and a payload of bytes.

#ifndef EVENT_EVENT_H_
#define EVENT_EVENT_H_

#include <string>

class Pickle;

namespace evt {

class Event {
 public:
  explicit Event(int id);
  virtual ~Event();
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  int id() const { return id_; }

  // Takes a copy of |pickle|'s serialized bytes (its header and entries) as the payload,
  // so that a subscriber can read the entries back with a PickleIterator.
  void SetData(const Pickle& pickle);

  // The payload as set by SetData(); empty until then.
  const std::string& data() const { return data_; }

 private:
  const int id_;
  std::string data_;
};

}  // namespace evt

#endif  // EVENT_EVENT_H_
