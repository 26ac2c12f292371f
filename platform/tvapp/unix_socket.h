// Small helpers for the framework's Unix-socket transport. Every wait has a deadline.

#ifndef TVAPP_UNIX_SOCKET_H_
#define TVAPP_UNIX_SOCKET_H_

#include <chrono>
#include <cstddef>
#include <string>

namespace ORVELL0300 {
namespace internal {

typedef std::chrono::steady_clock::time_point Deadline;

// Writes all of |data| to the non-blocking |fd|. False on an error or when |deadline|
// passes first.
bool WriteAll(int fd, const std::string& data, Deadline deadline);

// Reads what is available from the non-blocking |fd| into |buffer|, waiting until
// |deadline| for something to arrive. Returns the byte count, 0 at end of stream, or -1
// on an error or when |deadline| passes.
long ReadSome(int fd, char* buffer, size_t size, Deadline deadline);

// Closes |*fd| if it is open and sets it to -1.
void CloseFd(int* fd);

}  // namespace internal
}  // namespace ORVELL0300

#endif  // TVAPP_UNIX_SOCKET_H_
