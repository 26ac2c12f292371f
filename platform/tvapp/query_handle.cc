#include "tvapp/query_handle.h"

#include "base/memory/singleton.h"
#include "tvapp/application_base.h"

// static
ORVELL0300::CApplicationBase* CQueryHandle::GetApplication() {
  return Singleton<ORVELL0300::CApplicationBase, LeakySingletonTraits<ORVELL0300::CApplicationBase>,
                   CQueryHandle>::get();
}
