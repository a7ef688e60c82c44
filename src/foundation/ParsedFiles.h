// Trees of the files that a process has parsed, so that a second plug-in instance parses none
// again. Everything rests on one rule: a file is read each time, and what counts is its text, not
// its date; so nobody is given a tree that the file doesn't hold any more.
#pragma once

#include "foundation/Dictionary.h"
#include "foundation/Mutex.h"

#include <map>
#include <string>

namespace tarn {

class File;

/// Any thread but the audio thread. Keeps text and tree of every file that it was asked for, so it
/// is for the few that all instances share.
class ParsedFiles {
public:
    /// What `Dictionary::load` does, into a tree of the caller's own. False, with the tree as it
    /// was, if there is no such file or it isn't whole.
    bool load(const File& file, Dictionary& tree);

private:
    struct Entry {
        std::string text;
        Dictionary tree;
    };

    Mutex lock_;
    std::map<std::string, Entry> entries_;  // by path
};

}  // namespace tarn
