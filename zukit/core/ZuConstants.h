#pragma once

#include "zukit/platform/foundation/Export.h"

// The data symbols that SDKs link against.

extern "C" {
// The library's version number.
ZU_EXPORT extern const double ZuKitVersionNumber;
// The library's what-string: "@(#)PROGRAM:ZuKit  PROJECT:ZuSDK-1\n", 35 bytes before its NUL.
ZU_EXPORT extern const unsigned char ZuKitVersionString[];
// The tag of the private serial queue: a process-unique key, initialised to its own address.
// Writable on purpose; nothing in the library writes it.
ZU_EXPORT extern void* QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD;
// The label of the private serial queue, "cn.com.Zu.asyncTask". Writable on purpose.
ZU_EXPORT extern const char* QUEUE_NAME_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD;
}

// The domain of the errors that the library makes itself: "ZuErrorDomain".
ZU_EXPORT extern const char* const ZuErrorDomain;
// The notification posted when reachability changes: "ZuNetworkDidChangeNotification".
ZU_EXPORT extern const char* const ZuNetworkDidChangeNotification;
// The log directory's name under Documents: "Zu_Log".
ZU_EXPORT extern const char* const ZuDefaultLogDirectoryName;
