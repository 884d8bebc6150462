#pragma once

// What the kill trials and their host program agree on.
//
//   reliability_trial_host track <data folder> <record file> <first number> <throttle ms>
//       starts analytics on the data folder and tracks "Trial.n.<k>" for
//       k = first, first + 1, ... until it is killed (or kMaxTrackingMs pass).
//       After each tracking call has returned it appends "<k>\n" to the record
//       file with one write(2) on a descriptor opened with O_APPEND, so that the
//       line is in the kernel's hands before the next call and survives SIGKILL.
//       Once start-up has returned it appends kStartedLine. A throttle below 0
//       keeps the shipped one.
//   reliability_trial_host deliver <data folder>
//       starts analytics on the data folder as the next launch of the host does,
//       waits for the send that start-up begins, shuts down and exits 0.
//
// The endpoint comes from ZP_INGESTION_BASE_URL, as for any host.

namespace TrialHost {

constexpr char kTrack[] = "track";
constexpr char kDeliver[] = "deliver";
constexpr char kStartedLine[] = "started";
// The tracked event: "Trial" with the property "n".
constexpr char kEventName[] = "Trial";
constexpr char kNumberProperty[] = "n";
// A host nobody kills stops by itself, so that no trial leaves one running.
constexpr int kMaxTrackingMs = 20000;
// Pause between two tracking calls: enough events per trial to catch sends at
// every stage, few enough to read back quickly.
constexpr int kPauseUs = 200;

} // namespace TrialHost
