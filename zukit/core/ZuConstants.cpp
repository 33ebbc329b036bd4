#include "zukit/core/ZuConstants.h"

extern "C" {
const double ZuKitVersionNumber = 1.0;
const unsigned char ZuKitVersionString[] = "@(#)PROGRAM:ZuKit  PROJECT:ZuSDK-1\n";
void* QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD =
    &QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD;
const char* QUEUE_NAME_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD = "cn.com.Zu.asyncTask";
}

const char* const ZuErrorDomain = "ZuErrorDomain";
const char* const ZuNetworkDidChangeNotification = "ZuNetworkDidChangeNotification";
const char* const ZuDefaultLogDirectoryName = "Zu_Log";
