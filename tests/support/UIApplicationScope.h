#pragma once

namespace zukit::test {

// Gives a test the application as a fresh process has it, and leaves it so: on entry and at the
// end, every scene is disconnected, no window is key, the system version is the system's own
// and the main screen has its default size. Main thread only.
class UIApplicationScope {
 public:
  UIApplicationScope();
  ~UIApplicationScope();
  UIApplicationScope(const UIApplicationScope&) = delete;
  UIApplicationScope& operator=(const UIApplicationScope&) = delete;

 private:
  static void reset();
};

}  // namespace zukit::test
