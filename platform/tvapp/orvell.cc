#include "tvapp/orvell.h"

#include "tvapp/instance_directory.h"

namespace ORVELL0300 {

// static
int ORVELL::GetInstanceID(const OCString& name) {
  return CInstanceDirectory::GetInstance()->GetInstanceID(name.text());
}

}  // namespace ORVELL0300
