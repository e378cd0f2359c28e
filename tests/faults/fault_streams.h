// Streams for tests of failures.
#ifndef PIXTOLA_TESTS_FAULTS_FAULT_STREAMS_H_
#define PIXTOLA_TESTS_FAULTS_FAULT_STREAMS_H_

#include "support/faulty_stream.h"
#include "support/memory_streams.h"

namespace pixtola::test {

/// A stream in front of another one, whose reads and writes can fail.
inline StreamPointer InFrontOf(IStream& stream) {
  return StreamPointer(FaultyStream::Create(stream));
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_FAULTS_FAULT_STREAMS_H_
