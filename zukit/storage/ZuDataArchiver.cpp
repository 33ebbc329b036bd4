#include "zukit/storage/ZuDataArchiver.h"

#include "zukit/platform/foundation/NSKeyedArchiver.h"
#include "zukit/platform/foundation/NSKeyedUnarchiver.h"

bool ZuDataArchiver::setData(const zu::Value& data, const std::string& path) {
  if (data.isAbsent()) return false;
  return zu::NSKeyedArchiver::archiveRootObject(data, path);
}

zu::Value ZuDataArchiver::getDataForPath(const std::string& path) {
  return zu::NSKeyedUnarchiver::unarchiveObjectWithFile(path);
}
