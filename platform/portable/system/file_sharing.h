// Which uses of one file are compatible.
#ifndef PIXTOLA_PORTABLE_FILE_SHARING_H_
#define PIXTOLA_PORTABLE_FILE_SHARING_H_

namespace pixtola::portable {

struct FileUse {
  bool reads;
  bool writes;
};

/// Registers an open file as used by its owner and denied to others. False when others deny this
/// use, or use it in a way that is denied; the file should be closed then, which undoes the
/// registration.
///
/// This is an agreement among those who call it, in any number of programs. Two who open a file at
/// the same instant may both be refused, but never both admitted. Where the file system has no
/// locks everybody is admitted.
bool ShareFile(int descriptor, FileUse own, FileUse denied);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_FILE_SHARING_H_
