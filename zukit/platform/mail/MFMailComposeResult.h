#pragma once

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// How the mail composer ended, as its delegate is told.
enum MFMailComposeResult : NSInteger {
  MFMailComposeResultCancelled = 0,
  MFMailComposeResultSaved = 1,
  MFMailComposeResultSent = 2,
  MFMailComposeResultFailed = 3,
};

// The domain of the composer's errors: "MFMailComposeErrorDomain".
ZU_EXPORT extern const char* const MFMailComposeErrorDomain;

// The codes of the composer's errors.
enum MFMailComposeErrorCode : NSInteger {
  // The draft could not be written.
  MFMailComposeErrorCodeSaveFailed = 0,
  // The message could not be sent: the server refused it or could not be reached.
  MFMailComposeErrorCodeSendFailed = 1,
};

}  // namespace zu
