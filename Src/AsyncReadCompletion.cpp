#include "AsyncReadCompletion.h"

#include <exception>

namespace Ostra {
namespace AsyncRead {

void RunCallbacks(const CallbackBatch& inBatch) {
  struct Ending {
    const CallbackBatch& mBatch;
    ~Ending() { mBatch.Ended(); }
  } ending{inBatch};
  inBatch.Starting();
  std::exception_ptr failure;
  for (const Completion& completion : inBatch.mCompletions) {
    const CompletionFunctionParams& params = completion.mParams;
    try {
      completion.mFunction(params.mReader, params.mOffset, params.mRequestedSize,
                           params.mBytesTransferred, params.mBuffer, params.mContext1,
                           params.mContext2, params.mContext3, params.mResult);
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

}  // namespace AsyncRead
}  // namespace Ostra
