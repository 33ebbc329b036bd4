#pragma once

// ZuKit: every public header of the library. A host includes this one header (or any of the
// headers below on its own) and links libzukit.so.

// Platform: values, formatting, files, dates, property lists, JSON, preferences
#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/foundation/Dictionary.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSDateFormatter.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/foundation/NSFileHandle.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/foundation/NSKeyedArchiver.h"
#include "zukit/platform/foundation/NSKeyedUnarchiver.h"
#include "zukit/platform/foundation/NSLocale.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/foundation/NSNotification.h"
#include "zukit/platform/foundation/NSNotificationCenter.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/platform/foundation/NSString.h"
#include "zukit/platform/foundation/NSTimeZone.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/ThreadAnnotations.h"
#include "zukit/platform/foundation/Value.h"

// Platform: the object runtime
#include "zukit/platform/runtime/AssociatedObjects.h"
#include "zukit/platform/runtime/CacheLine.h"
#include "zukit/platform/runtime/Class.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/Method.h"
#include "zukit/platform/runtime/NSNumber.h"
#include "zukit/platform/runtime/NSSet.h"
#include "zukit/platform/runtime/NSValue.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/ObjectRef.h"
#include "zukit/platform/runtime/Runtime.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/runtime/Selector.h"
#include "zukit/platform/runtime/TypeEncoding.h"

// Platform: queues, run loops, semaphores, timer sources
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/DispatchClock.h"
#include "zukit/platform/dispatch/DispatchExecutor.h"
#include "zukit/platform/dispatch/DispatchQueue.h"
#include "zukit/platform/dispatch/DispatchSemaphore.h"
#include "zukit/platform/dispatch/DispatchSource.h"
#include "zukit/platform/dispatch/DispatchTime.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/dispatch/RunLoop.h"

// Platform: the HTTP session and reachability
#include "zukit/platform/network/NSCachedURLResponse.h"
#include "zukit/platform/network/NSHTTPURLResponse.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/network/NSURLCache.h"
#include "zukit/platform/network/NSURLError.h"
#include "zukit/platform/network/NSURLRequest.h"
#include "zukit/platform/network/NSURLResponse.h"
#include "zukit/platform/network/NSURLSession.h"
#include "zukit/platform/network/NSURLSessionConfiguration.h"
#include "zukit/platform/network/NSURLSessionDataTask.h"
#include "zukit/platform/network/NSURLSessionDownloadTask.h"
#include "zukit/platform/network/NSURLSessionTask.h"
#include "zukit/platform/network/SCNetworkReachability.h"
#include "zukit/platform/network/SocketAddress.h"

// Platform: the keychain
#include "zukit/platform/security/SecBase.h"
#include "zukit/platform/security/SecItem.h"

// Platform: the radio access technology
#include "zukit/platform/telephony/CTTelephonyNetworkInfo.h"

// Platform: the mail composer and its account
#include "zukit/platform/mail/MFMailComposeResult.h"
#include "zukit/platform/mail/MFMailComposeViewController.h"
#include "zukit/platform/mail/MailAccount.h"
#include "zukit/platform/mail/MailMessage.h"

// Platform: the headless view system: devices, screens, windows, views, controllers, drawing
#include "zukit/platform/ui/Bitmap.h"
#include "zukit/platform/ui/CALayer.h"
#include "zukit/platform/ui/CGContext.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/ImageHeader.h"
#include "zukit/platform/ui/MailComposeDelegate.h"
#include "zukit/platform/ui/TouchSequence.h"
#include "zukit/platform/ui/UIAlertAction.h"
#include "zukit/platform/ui/UIAlertController.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIControl.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UIFont.h"
#include "zukit/platform/ui/UIImage.h"
#include "zukit/platform/ui/UIImageView.h"
#include "zukit/platform/ui/UILabel.h"
#include "zukit/platform/ui/UINavigationController.h"
#include "zukit/platform/ui/UIResponder.h"
#include "zukit/platform/ui/UIScene.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UITabBarController.h"
#include "zukit/platform/ui/UITouch.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWebView.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/platform/ui/ViewRenderer.h"
#include "zukit/platform/ui/WKWebView.h"

// Core services: constants, dispatch helpers, logger, timer
#include "zukit/core/ZuConstants.h"
#include "zukit/core/ZuDispatchQueueManager.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/core/ZuTimer.h"

// Utilities
#include "zukit/utils/NSDictionary+ZuJson.h"
#include "zukit/utils/ZuUtils.h"

// Local storage
#include "zukit/storage/ZuDataArchiver.h"
#include "zukit/storage/ZuDiskCache.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/storage/ZuKeychainItemWrapper.h"
#include "zukit/storage/ZuUserDefaults.h"
#include "zukit/storage/ZuUserShare.h"
#include "zukit/storage/ZuVideoDiskCache.h"

// Networking
#include "zukit/network/UIImageView+ZuWebCache.h"
#include "zukit/network/ZuDownloadManager.h"
#include "zukit/network/ZuNetwork.h"
#include "zukit/network/ZuNetworkConfig.h"
#include "zukit/network/ZuReachability.h"
#include "zukit/network/ZuReachabilityManager.h"

// Runtime interception
#include "zukit/hooks/NSObject+ZuSwizzle.h"
#include "zukit/hooks/ZuBlock.h"
#include "zukit/hooks/ZuBlockMap.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/hooks/ZuSwizzle.h"
#include "zukit/hooks/ZuSwizzleSlot.h"
#include "zukit/hooks/ZuSwizzler.h"

// User interface: navigation lookup and the floating ball
#include "zukit/ui/ZuFloatingBall.h"
#include "zukit/ui/ZuFloatingBallChild.h"
#include "zukit/ui/ZuNavigation.h"
