#include <functional>

#include "platform/defaults_store_contract.h"
#include "platform/run_loop_contract.h"
#include "platform/simulated/simulated_desktop.h"

namespace tapeloop::simulated {
namespace {

struct VirtualHarness {
  VirtualRunLoop virtualLoop;
  RunLoop& loop() { return virtualLoop; }
  bool turnUntil(const std::function<bool()>& done) {
    for (int turn = 0; turn < 1000 && !done(); ++turn) virtualLoop.advance(0.001);
    return done();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, RunLoopContract, VirtualHarness);

// Hands everything on to a store in memory while it is told of no fault.
struct FaultyHarness {
  FaultyDefaultsStore faultyStore;
  DefaultsStore& store() { return faultyStore; }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, DefaultsStoreContract, FaultyHarness);

}  // namespace
}  // namespace tapeloop::simulated
