// The jobs that Leptonica does.
#ifndef PIXTOLA_BENCH_LEPTONICA_PEERS_H_
#define PIXTOLA_BENCH_LEPTONICA_PEERS_H_

#include <string>
#include <vector>

#include "job.h"

namespace pixtola::bench {

std::vector<Peer> LeptonicaPeers();
std::string LeptonicaVersion();

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_LEPTONICA_PEERS_H_
