// The framework's name service for application instances.

#ifndef TVAPP_ORVELL_H_
#define TVAPP_ORVELL_H_

#include "tvapp/oc_string.h"

namespace ORVELL0300 {

class ORVELL {
 public:
  ORVELL() = delete;

  // The id under which the instance |name| receives messages now, or kInvalidInstanceID
  // (tvapp/instance_directory.h) when no instance of that name is registered.
  static int GetInstanceID(const OCString& name);
};

}  // namespace ORVELL0300

#endif  // TVAPP_ORVELL_H_
