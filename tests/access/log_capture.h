// log_capture.h - a log handle for tests that keeps every message written to
// it: number and text arguments (integers are kept as text).
#ifndef BU_TESTS_ACCESS_LOG_CAPTURE_H
#define BU_TESTS_ACCESS_LOG_CAPTURE_H

#include <string>
#include <vector>

#include "px_boundary.h"

struct CapturedMessage {
    int number;
    std::vector<std::string> args;
    std::string joined() const;  // args joined without separators
};

class LogCapture {
  public:
    LogCapture();
    LogHandle* handle() { return &handle_; }
    std::vector<CapturedMessage>& messages();
    // True when some message's joined text contains `text`.
    bool contains(const std::string& text) const;
    int count(int number) const;
    void clear();

  private:
    LogServices services_{};
    LogHandle handle_{};
};

#endif  // BU_TESTS_ACCESS_LOG_CAPTURE_H
