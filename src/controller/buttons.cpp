#include "controller/buttons.h"

namespace tapeloop {
namespace {

constexpr const char* privacyPolicyURL = "tapeloop:privacy-policy.html";

}  // namespace

void InformationButton::press() {
  trace_.writeLine("Information Button Pressed.");
  showingAlert.set(true);
}

void InformationButton::dismissAlert() {
  trace_.writeLine("Dismiss button pressed.");
  showingAlert.set(false);
}

void InformationButton::openPrivacyPolicy() {
  trace_.writeLine("Privacy Policy button pressed.");
  if (workspace_.openURL(privacyPolicyURL)) trace_.writeLine("Opening Privacy Policy webpage...");
  showingAlert.set(false);
}

}  // namespace tapeloop
