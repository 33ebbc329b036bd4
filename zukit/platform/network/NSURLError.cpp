#include "zukit/platform/network/NSURLError.h"

namespace zu {

std::string NSURLErrorLocalizedDescription(NSInteger code) {
  switch (code) {
    case NSURLErrorCancelled:
      return "cancelled";
    case NSURLErrorBadURL:
      return "bad URL";
    case NSURLErrorTimedOut:
      return "The request timed out.";
    case NSURLErrorUnsupportedURL:
      return "unsupported URL";
    case NSURLErrorCannotFindHost:
      return "A server with the specified hostname could not be found.";
    case NSURLErrorCannotConnectToHost:
      return "Could not connect to the server.";
    case NSURLErrorNetworkConnectionLost:
      return "The network connection was lost.";
    case NSURLErrorHTTPTooManyRedirects:
      return "too many HTTP redirects";
    case NSURLErrorResourceUnavailable:
      return "resource unavailable";
    case NSURLErrorNotConnectedToInternet:
      return "The Internet connection appears to be offline.";
    case NSURLErrorBadServerResponse:
      return "bad server response";
    case NSURLErrorCannotDecodeContentData:
      return "cannot decode content data";
    case NSURLErrorCannotParseResponse:
      return "cannot parse response";
    case NSURLErrorDataLengthExceedsMaximum:
      return "resource exceeds maximum size";
    case NSURLErrorSecureConnectionFailed:
      return "An SSL error has occurred and a secure connection to the server cannot be made.";
    case NSURLErrorServerCertificateUntrusted:
      return "The certificate for this server is invalid.";
    case NSURLErrorCannotCreateFile:
      return "cannot create file";
    case NSURLErrorCannotWriteToFile:
      return "cannot write to file";
    default:
      return "unknown error";
  }
}

std::shared_ptr<NSError> NSURLErrorMake(NSInteger code, const std::shared_ptr<NSURL>& url,
                                        const std::string& detail) {
  Dictionary userInfo;
  userInfo.setObject(NSURLErrorLocalizedDescription(code), NSLocalizedDescriptionKey);
  if (url) {
    userInfo.setObject(url->absoluteString(), NSURLErrorFailingURLStringErrorKey);
    userInfo.setObject(url, NSURLErrorFailingURLErrorKey);
  }
  if (!detail.empty()) userInfo.setObject(detail, NSDebugDescriptionErrorKey);
  return NSError::errorWithDomain(NSURLErrorDomain, code, std::move(userInfo));
}

}  // namespace zu
