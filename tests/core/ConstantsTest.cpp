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
  for (const char* name : {"ZuKitVersionNumber", "ZuKitVersionString",
                           "QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD",
                           "QUEUE_NAME_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD"}) {
    EXPECT_NE(dlsym(RTLD_DEFAULT, name), nullptr) << name;
  }
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "ZuKitVersionString"),
            static_cast<const void*>(ZuKitVersionString));
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD"),
            static_cast<void*>(&QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD));
}

}  // namespace
