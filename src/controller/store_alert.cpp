#include "controller/store_alert.h"

namespace tapeloop {

const char* storeSentence(StoreStatus status) {
  switch (status) {
    case StoreStatus::stored:
      return "";
    case StoreStatus::readOnly:
      return "The change was not saved: there is no permission to write the recordings.";
    case StoreStatus::diskFull:
      return "The change was not saved: there is no room left for the recordings.";
    case StoreStatus::locked:
      return "The change was not saved: another program is using the recordings. Try again.";
    case StoreStatus::damaged:
      return "The change was not saved: the file with the recordings is damaged.";
    case StoreStatus::newer:
      return "The change was not saved: a newer version of Tapeloop keeps the recordings.";
    case StoreStatus::unavailable:
      break;
  }
  return "The change was not saved: the recordings can't be reached.";
}

}  // namespace tapeloop
