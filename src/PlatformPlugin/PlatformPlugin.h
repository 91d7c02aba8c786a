#pragma once

#include "PlatformPlugin/PlatformPluginException.h"

/// One connection to the platform's power plugin, which can pin the processor to a P-state.
///
/// Opened on construction and closed on destruction; opening needs effective user id 0. Every
/// failure is thrown as a PlatformPluginException. A pinned processor stays pinned until
/// default_state or the connection's end. Thread: one at a time.
class PlatformPlugin {
 public:
  PlatformPlugin();

  /// Closes the connection if it is still open. Throws if the driver refuses.
  // NOLINTNEXTLINE(bugprone-exception-escape): a refused close is to reach the owner
  ~PlatformPlugin() noexcept(false);

  PlatformPlugin(const PlatformPlugin&) = delete;
  PlatformPlugin& operator=(const PlatformPlugin&) = delete;

  /// Whether the machine has a power plugin. True as well if that cannot be told.
  static bool exists();

  /// Closes the connection while the object lives on: if the driver refuses, this throws and the
  /// connection is still open.
  void close();

  /// Finds the plugin's service and opens a connection to it, which the caller owns. The service
  /// itself stays referenced for the life of the process.
  unsigned int setup_connection();
  void teardown_connection(const unsigned int& handle);

  /// Steps are the plugin's: 0 is its own power balancing, 100 + n is P-state n. Returns false.
  bool set_step(unsigned int step);
  /// Pins the processor to `pstate`, 0 being the fastest. Returns false.
  bool set_state(unsigned int pstate);
  /// Gives the processor back to the plugin's own power balancing. Returns false.
  bool default_state();

 private:
  unsigned int connection;  ///< 0 once closed
};
