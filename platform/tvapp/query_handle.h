// The way into the framework from code that is not an application class itself.

#ifndef TVAPP_QUERY_HANDLE_H_
#define TVAPP_QUERY_HANDLE_H_

namespace ORVELL0300 {
class CApplicationBase;
}  // namespace ORVELL0300

class CQueryHandle {
 public:
  CQueryHandle() = delete;

  // The application object of this process, created on first use and never destroyed.
  static ORVELL0300::CApplicationBase* GetApplication();
};

#endif  // TVAPP_QUERY_HANDLE_H_
