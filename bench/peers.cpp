// Collects the peers; the build says which libraries there are.
#include "peers.h"

#if PIXTOLA_BENCH_OPENCV
#include "opencv_peers.h"
#endif
#if PIXTOLA_BENCH_LIBYUV
#include "libyuv_peers.h"
#endif
#if PIXTOLA_BENCH_LEPTONICA
#include "leptonica_peers.h"
#endif

namespace pixtola::bench {

namespace {

struct Library {
  std::vector<Peer> (*peers)();
  std::string (*version)();
};

std::vector<Library> Libraries() {
  std::vector<Library> libraries;
#if PIXTOLA_BENCH_OPENCV
  libraries.push_back({OpenCvPeers, OpenCvVersion});
#endif
#if PIXTOLA_BENCH_LIBYUV
  libraries.push_back({LibyuvPeers, LibyuvVersion});
#endif
#if PIXTOLA_BENCH_LEPTONICA
  libraries.push_back({LeptonicaPeers, LeptonicaVersion});
#endif
  return libraries;
}

}  // namespace

std::vector<Peer> AllPeers() {
  std::vector<Peer> all;
  for (const Library& library : Libraries()) {
    const std::vector<Peer> peers = library.peers();
    all.insert(all.end(), peers.begin(), peers.end());
  }
  return all;
}

std::string PeerVersions() {
  std::string versions;
  for (const Library& library : Libraries()) {
    if (!versions.empty()) versions += ", ";
    versions += library.version();
  }
  return versions;
}

}  // namespace pixtola::bench
