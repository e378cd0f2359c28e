// The jobs that libyuv does.
#ifndef PIXTOLA_BENCH_LIBYUV_PEERS_H_
#define PIXTOLA_BENCH_LIBYUV_PEERS_H_

#include <string>
#include <vector>

#include "job.h"

namespace pixtola::bench {

std::vector<Peer> LibyuvPeers();
std::string LibyuvVersion();

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_LIBYUV_PEERS_H_
