// One event on the platform's event bus: an id and a payload of bytes.

#ifndef EVENT_EVENT_H_
#define EVENT_EVENT_H_

#include <string>
#include <vector>

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

  // The payload read as a pickle of strings: the strings in order, up to the first entry
  // that is not one. The events of device discovery and disconnection carry their device's
  // strings this way.
  std::vector<std::string> ReadStrings() const;

 private:
  const int id_;
  std::string data_;
};

}  // namespace evt

#endif  // EVENT_EVENT_H_
