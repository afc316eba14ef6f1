// The exported services of vector math. Each name `_fyn<Name>` is a second name of
// `qor_fyn_kernel_<Name>`: one entry, one address.
#include "core_interface/second_name.h"
#include "vector_math/frame/thread_state.h"

using namespace qor::fyn;

namespace {

std::int32_t exchange_status(std::int32_t status) {
    FynThreadState &state = thread_state();
    const std::int32_t old = state.status;
    state.status = status;
    return old;
}

constexpr std::uint32_t slot_of(std::uint32_t mode) { return (mode & accuracy_field) - 1; }

} // namespace

extern "C" {

std::uint32_t qor_fyn_kernel_SetMode(std::uint32_t mode) { return exchange_mode(thread_state(), mode); }

std::uint32_t qor_fyn_kernel_GetMode() { return thread_mode(thread_state()); }

std::int32_t qor_fyn_kernel_SetErrStatus(std::int32_t status) { return exchange_status(status); }

std::int32_t qor_fyn_kernel_GetErrStatus() { return thread_state().status; }

std::int32_t qor_fyn_kernel_ClearErrStatus() { return exchange_status(FYN_STATUS_OK); }

FynErrorCallBack qor_fyn_kernel_SetErrorCallBack(FynErrorCallBack callback) {
    return exchange_callback(thread_state(), callback);
}

FynErrorCallBack qor_fyn_kernel_GetErrorCallBack() { return thread_state().callback; }

FynErrorCallBack qor_fyn_kernel_ClearErrorCallBack() { return exchange_callback(thread_state(), nullptr); }

void *qor_fyn_kernel_SetInterfInputVectorPointer(void *start) {
    thread_state().interf_input_vector = start;
    return start;
}

std::uint32_t qor_fyn_kernel_GetTTableIndex() { return slot_of(thread_mode(thread_state())); }

std::uint32_t qor_fyn_kernel_GetTTableIndexM(std::uint64_t, std::uint32_t mode) { return slot_of(mode); }

std::int32_t dll_cpu_version() { return 0; }

QOR_SECOND_NAME(_fynSetMode, qor_fyn_kernel_SetMode);
QOR_SECOND_NAME(_fynGetMode, qor_fyn_kernel_GetMode);
QOR_SECOND_NAME(_fynSetErrStatus, qor_fyn_kernel_SetErrStatus);
QOR_SECOND_NAME(_fynGetErrStatus, qor_fyn_kernel_GetErrStatus);
QOR_SECOND_NAME(_fynClearErrStatus, qor_fyn_kernel_ClearErrStatus);
QOR_SECOND_NAME(_fynSetErrorCallBack, qor_fyn_kernel_SetErrorCallBack);
QOR_SECOND_NAME(_fynGetErrorCallBack, qor_fyn_kernel_GetErrorCallBack);
QOR_SECOND_NAME(_fynClearErrorCallBack, qor_fyn_kernel_ClearErrorCallBack);
QOR_SECOND_NAME(_fynSetInterfInputVectorPointer, qor_fyn_kernel_SetInterfInputVectorPointer);

} // extern "C"
