/// \file
/// \class strata::Impl
/// Base of every private implementation object: a class owns exactly one and
/// deletes it through this virtual destructor. Not copyable.
///
/// It has no state: an implementation object keeps its owner's threading
/// rule, and destroying one never fails or throws.
#pragma once

#include "strata/StrataConfig.h"

namespace strata {

class STRATA_API Impl {
 public:
  virtual ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

 protected:
  Impl() = default;
};

}  // namespace strata
