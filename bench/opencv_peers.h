// The jobs that OpenCV does, in one thread.
#ifndef PIXTOLA_BENCH_OPENCV_PEERS_H_
#define PIXTOLA_BENCH_OPENCV_PEERS_H_

#include <string>
#include <vector>

#include "job.h"

namespace pixtola::bench {

/// Calling it also limits OpenCV to one thread from then on.
std::vector<Peer> OpenCvPeers();
std::string OpenCvVersion();

}  // namespace pixtola::bench

#endif  // PIXTOLA_BENCH_OPENCV_PEERS_H_
