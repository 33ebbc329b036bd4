#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/foundation/NSURL.h"

namespace zu {

// The domain of the URL-loading system's errors.
inline constexpr const char* NSURLErrorDomain = "NSURLErrorDomain";
// User-info key of the URL that failed (an NSURL object).
inline constexpr const char* NSURLErrorFailingURLErrorKey = "NSErrorFailingURLKey";
// User-info key of the failing URL's text.
inline constexpr const char* NSURLErrorFailingURLStringErrorKey = "NSErrorFailingURLStringKey";
// User-info key of a developer-facing detail (the transport's own message).
inline constexpr const char* NSDebugDescriptionErrorKey = "NSDebugDescription";

// Codes of NSURLErrorDomain, with the platform's values.
inline constexpr NSInteger NSURLErrorUnknown = -1;
inline constexpr NSInteger NSURLErrorCancelled = -999;
inline constexpr NSInteger NSURLErrorBadURL = -1000;
inline constexpr NSInteger NSURLErrorTimedOut = -1001;
inline constexpr NSInteger NSURLErrorUnsupportedURL = -1002;
inline constexpr NSInteger NSURLErrorCannotFindHost = -1003;
inline constexpr NSInteger NSURLErrorCannotConnectToHost = -1004;
inline constexpr NSInteger NSURLErrorNetworkConnectionLost = -1005;
inline constexpr NSInteger NSURLErrorHTTPTooManyRedirects = -1007;
inline constexpr NSInteger NSURLErrorResourceUnavailable = -1008;
inline constexpr NSInteger NSURLErrorNotConnectedToInternet = -1009;
inline constexpr NSInteger NSURLErrorBadServerResponse = -1011;
inline constexpr NSInteger NSURLErrorCannotDecodeContentData = -1016;
inline constexpr NSInteger NSURLErrorCannotParseResponse = -1017;
inline constexpr NSInteger NSURLErrorDataLengthExceedsMaximum = -1103;
inline constexpr NSInteger NSURLErrorSecureConnectionFailed = -1200;
inline constexpr NSInteger NSURLErrorServerCertificateUntrusted = -1202;
inline constexpr NSInteger NSURLErrorCannotCreateFile = -3000;
inline constexpr NSInteger NSURLErrorCannotWriteToFile = -3003;

// The platform's English description of a code ("The request timed out."); for codes without
// one, "unknown error".
ZU_EXPORT std::string NSURLErrorLocalizedDescription(NSInteger code);

// An error of NSURLErrorDomain with `code`, its description, the failing URL (when given) and
// `detail` under NSDebugDescription (when not empty).
ZU_EXPORT std::shared_ptr<NSError> NSURLErrorMake(NSInteger code, const std::shared_ptr<NSURL>& url,
                                                  const std::string& detail = {});

}  // namespace zu
