// Running a program: values of names, calls of functions and of objects' members.
#pragma once

#include <map>
#include <string>

#include <qm/variant.h>
#include "expression/program.h"
#include "expression/script_engine.h"

namespace qm {

/// The objects that expressions can reach. Keys, of objects and of members, are in upper case.
struct ScriptObjects {
  std::map<std::string, ScriptEngine::Members> named;
  ScriptEngine::Members global_members;
};

/// An evaluation is bounded in the text and elements it holds at a time (14, 7), in what it makes
/// of them in all (7), and in how deeply arrays and `Eval` nest (28).
///
/// Raises what the operators and functions raise; 13 for a call of an unknown name, 424 for a
/// member of what is no object, 438 for an unknown member, 450 for a wrong number of arguments.
Variant Run(const Program& program, const ScriptObjects& objects);

}  // namespace qm
