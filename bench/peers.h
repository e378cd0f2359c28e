// All other libraries of this build.
#ifndef PIXTOLA_BENCH_PEERS_H_
#define PIXTOLA_BENCH_PEERS_H_

#include <string>
#include <vector>

#include "job.h"

namespace pixtola::bench {

std::vector<Peer> AllPeers();

/// "OpenCV 4.6.0, ..."
std::string PeerVersions();

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_PEERS_H_
