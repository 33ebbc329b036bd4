#include <dlfcn.h>

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "zukit/core/ZuConstants.h"

namespace {

TEST(ExportedConstants, HoldTheirExactValues) {
  const auto* version = reinterpret_cast<const char*>(ZuKitVersionString);
  EXPECT_EQ(std::strlen(version), 35U);
  EXPECT_EQ(version[34], '\n');
  EXPECT_EQ(std::string(version), "@(#)PROGRAM:ZuKit  PROJECT:ZuSDK-1\n");
  EXPECT_EQ(ZuKitVersionNumber, 1.0);
  EXPECT_EQ(QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD,
            static_cast<void*>(&QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD));
  EXPECT_STREQ(QUEUE_NAME_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD, "cn.com.Zu.asyncTask");
  EXPECT_STREQ(ZuErrorDomain, "ZuErrorDomain");
  EXPECT_STREQ(ZuNetworkDidChangeNotification, "ZuNetworkDidChangeNotification");
  EXPECT_STREQ(ZuDefaultLogDirectoryName, "Zu_Log");
}

TEST(ExportedConstants, AreExportedUnderTheirPlainNames) {
  // SDKs find these by their unmangled names in the shared library.
  void* library = dlopen(ZUKIT_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  for (const char* name : {"ZuKitVersionNumber", "ZuKitVersionString",
                           "QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD",
                           "QUEUE_NAME_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD", "ZuErrorDomain",
                           "ZuNetworkDidChangeNotification", "ZuDefaultLogDirectoryName"}) {
    EXPECT_NE(dlsym(library, name), nullptr) << name;
  }
  const auto* version = static_cast<const double*>(dlsym(library, "ZuKitVersionNumber"));
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(*version, 1.0);
  const auto* text = static_cast<const char*>(dlsym(library, "ZuKitVersionString"));
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "@(#)PROGRAM:ZuKit  PROJECT:ZuSDK-1\n");
  auto* const* tag = static_cast<void* const*>(
      dlsym(library, "QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD"));
  ASSERT_NE(tag, nullptr);
  EXPECT_EQ(*tag, static_cast<const void*>(tag));
  dlclose(library);
}

}  // namespace
