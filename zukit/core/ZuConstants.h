#pragma once

// The data symbols that SDKs link against.

extern "C" {
// The library's version number.
extern const double ZuKitVersionNumber;
// The library's what-string: "@(#)PROGRAM:ZuKit  PROJECT:ZuSDK-1\n", 35 bytes before its NUL.
extern const unsigned char ZuKitVersionString[];
// The tag of the private serial queue: a process-unique key, initialised to its own address.
// Writable on purpose; nothing in the library writes it.
extern void* QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD;
// The label of the private serial queue, "cn.com.Zu.asyncTask". Writable on purpose.
extern const char* QUEUE_NAME_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD;
}

// The domain of the errors that the library makes itself: "ZuErrorDomain".
extern const char* const ZuErrorDomain;
// The notification posted when reachability changes: "ZuNetworkDidChangeNotification".
extern const char* const ZuNetworkDidChangeNotification;
// The log directory's name under Documents: "Zu_Log".
extern const char* const ZuDefaultLogDirectoryName;
