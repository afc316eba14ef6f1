// The editors of summary-statistics tasks. They only store addresses, so the single- and double-precision
// names of an editor are two names of one routine.
#include "core_interface/second_name.h"
#include "statistics/summary/parameters.h"
#include "statistics/summary/task.h"

#include <initializer_list>

namespace qor::bex {

namespace {

using Value = const void *;

std::int32_t edit_one(void *task, Element element, std::int32_t code, Value value) {
    if (task == nullptr)
        return BEX_SS_STATUS_NULL_TASK;
    if (code < 1 || code > last_code || parameter(code).element != element)
        return BEX_SS_STATUS_UNKNOWN_PARAMETER;
    if (value == nullptr)
        return parameter(code).null_status;
    static_cast<SummaryTask *>(task)->attach(parameter(code).slot, value);
    return BEX_SS_STATUS_OK;
}

struct Attachment {
    std::int32_t code;
    Value value;
};

std::int32_t edit_group(void *task, std::initializer_list<Attachment> attachments) {
    if (task == nullptr)
        return BEX_SS_STATUS_NULL_TASK;
    for (const auto [code, value] : attachments)
        if (value != nullptr)
            static_cast<SummaryTask *>(task)->attach(parameter(code).slot, value);
    return BEX_SS_STATUS_OK;
}

} // namespace

} // namespace qor::bex

extern "C" {

using namespace qor::bex;

std::int32_t __bexiSSEditTask(void *task, std::int32_t code, Value value) {
    return edit_one(task, Element::integer, code, value);
}

std::int32_t __bexdSSEditTask(void *task, std::int32_t code, Value value) {
    return edit_one(task, Element::real, code, value);
}

std::int32_t __bexdSSEditMoments(void *task, Value mean, Value raw_2, Value raw_3, Value raw_4,
                                 Value central_2, Value central_3, Value central_4) {
    return edit_group(task, {{BEX_SS_MEAN, mean},
                             {BEX_SS_RAW_MOMENT_2, raw_2},
                             {BEX_SS_RAW_MOMENT_3, raw_3},
                             {BEX_SS_RAW_MOMENT_4, raw_4},
                             {BEX_SS_CENTRAL_MOMENT_2, central_2},
                             {BEX_SS_CENTRAL_MOMENT_3, central_3},
                             {BEX_SS_CENTRAL_MOMENT_4, central_4}});
}

std::int32_t __bexdSSEditSums(void *task, Value sum, Value raw_2, Value raw_3, Value raw_4, Value central_2,
                              Value central_3, Value central_4) {
    return edit_group(task, {{BEX_SS_SUM, sum},
                             {BEX_SS_RAW_SUM_2, raw_2},
                             {BEX_SS_RAW_SUM_3, raw_3},
                             {BEX_SS_RAW_SUM_4, raw_4},
                             {BEX_SS_CENTRAL_SUM_2, central_2},
                             {BEX_SS_CENTRAL_SUM_3, central_3},
                             {BEX_SS_CENTRAL_SUM_4, central_4}});
}

std::int32_t __bexdSSEditCovCor(void *task, Value mean, Value covariance, Value covariance_storage,
                                Value correlation, Value correlation_storage) {
    return edit_group(task, {{BEX_SS_MEAN, mean},
                             {BEX_SS_COVARIANCE, covariance},
                             {BEX_SS_COVARIANCE_STORAGE, covariance_storage},
                             {BEX_SS_CORRELATION, correlation},
                             {BEX_SS_CORRELATION_STORAGE, correlation_storage}});
}

std::int32_t __bexdSSEditCP(void *task, Value mean, Value sum, Value cross_product, Value storage) {
    return edit_group(task, {{BEX_SS_MEAN, mean},
                             {BEX_SS_SUM, sum},
                             {BEX_SS_CROSS_PRODUCT, cross_product},
                             {BEX_SS_CROSS_PRODUCT_STORAGE, storage}});
}

std::int32_t __bexdSSEditPartialCovCor(void *task, Value indices, Value covariance, Value covariance_storage,
                                       Value correlation, Value correlation_storage, Value partial_covariance,
                                       Value partial_covariance_storage, Value partial_correlation,
                                       Value partial_correlation_storage) {
    return edit_group(task, {{BEX_SS_PARTIAL_INDICES, indices},
                             {BEX_SS_COVARIANCE, covariance},
                             {BEX_SS_COVARIANCE_STORAGE, covariance_storage},
                             {BEX_SS_CORRELATION, correlation},
                             {BEX_SS_CORRELATION_STORAGE, correlation_storage},
                             {BEX_SS_PARTIAL_COVARIANCE, partial_covariance},
                             {BEX_SS_PARTIAL_COVARIANCE_STORAGE, partial_covariance_storage},
                             {BEX_SS_PARTIAL_CORRELATION, partial_correlation},
                             {BEX_SS_PARTIAL_CORRELATION_STORAGE, partial_correlation_storage}});
}

std::int32_t __bexdSSEditMtxParametrz(void *task, Value correlation, Value correlation_storage,
                                      Value parametrized, Value parametrized_storage) {
    return edit_group(task, {{BEX_SS_CORRELATION, correlation},
                             {BEX_SS_CORRELATION_STORAGE, correlation_storage},
                             {BEX_SS_PARAMETRIZED_CORRELATION, parametrized},
                             {BEX_SS_PARAMETRIZED_CORRELATION_STORAGE, parametrized_storage}});
}

std::int32_t __bexdSSEditQuantiles(void *task, Value count, Value orders, Value quantiles,
                                   Value order_statistics, Value order_statistics_storage) {
    return edit_group(task, {{BEX_SS_QUANTILE_COUNT, count},
                             {BEX_SS_QUANTILE_ORDERS, orders},
                             {BEX_SS_QUANTILES, quantiles},
                             {BEX_SS_ORDER_STATISTICS, order_statistics},
                             {BEX_SS_ORDER_STATISTICS_STORAGE, order_statistics_storage}});
}

std::int32_t __bexdSSEditStreamQuantiles(void *task, Value count, Value orders, Value quantiles,
                                         Value parameter_count, Value algorithm_parameters) {
    return edit_group(task, {{BEX_SS_STREAM_QUANTILE_COUNT, count},
                             {BEX_SS_STREAM_QUANTILE_ORDERS, orders},
                             {BEX_SS_STREAM_QUANTILES, quantiles},
                             {BEX_SS_STREAM_QUANTILE_PARAMETER_COUNT, parameter_count},
                             {BEX_SS_STREAM_QUANTILE_PARAMETERS, algorithm_parameters}});
}

std::int32_t __bexdSSEditPooledCovariance(void *task, Value group_indices, Value pooled_mean,
                                          Value pooled_covariance, Value requested_groups, Value group_means,
                                          Value group_covariances) {
    return edit_group(task, {{BEX_SS_GROUP_INDICES, group_indices},
                             {BEX_SS_POOLED_MEAN, pooled_mean},
                             {BEX_SS_POOLED_COVARIANCE, pooled_covariance},
                             {BEX_SS_REQUESTED_GROUPS, requested_groups},
                             {BEX_SS_GROUP_MEANS, group_means},
                             {BEX_SS_GROUP_COVARIANCES, group_covariances}});
}

std::int32_t __bexdSSEditRCov(void *task, Value storage, Value count, Value algorithm_parameters, Value mean,
                              Value covariance) {
    return edit_group(task, {{BEX_SS_ROBUST_COVARIANCE_STORAGE, storage},
                             {BEX_SS_ROBUST_PARAMETER_COUNT, count},
                             {BEX_SS_ROBUST_PARAMETERS, algorithm_parameters},
                             {BEX_SS_ROBUST_MEAN, mean},
                             {BEX_SS_ROBUST_COVARIANCE, covariance}});
}

std::int32_t __bexdSSEditOutDetect(void *task, Value count, Value algorithm_parameters, Value weights) {
    return edit_group(task, {{BEX_SS_OUTLIER_PARAMETER_COUNT, count},
                             {BEX_SS_OUTLIER_PARAMETERS, algorithm_parameters},
                             {BEX_SS_OUTLIER_WEIGHTS, weights}});
}

std::int32_t __bexdSSEditMissingVals(void *task, Value parameter_count, Value algorithm_parameters,
                                     Value initial_estimate_count, Value initial_estimates, Value prior_count,
                                     Value prior, Value imputed_value_count, Value imputed_values,
                                     Value estimate_count, Value estimates) {
    return edit_group(task, {{BEX_SS_IMPUTATION_PARAMETER_COUNT, parameter_count},
                             {BEX_SS_IMPUTATION_PARAMETERS, algorithm_parameters},
                             {BEX_SS_INITIAL_ESTIMATE_COUNT, initial_estimate_count},
                             {BEX_SS_INITIAL_ESTIMATES, initial_estimates},
                             {BEX_SS_PRIOR_COUNT, prior_count},
                             {BEX_SS_PRIOR, prior},
                             {BEX_SS_IMPUTED_VALUE_COUNT, imputed_value_count},
                             {BEX_SS_IMPUTED_VALUES, imputed_values},
                             {BEX_SS_IMPUTATION_ESTIMATE_COUNT, estimate_count},
                             {BEX_SS_IMPUTATION_ESTIMATES, estimates}});
}

QOR_SECOND_NAME(__bexsSSEditTask, __bexdSSEditTask);
QOR_SECOND_NAME(__bexsSSEditMoments, __bexdSSEditMoments);
QOR_SECOND_NAME(__bexsSSEditSums, __bexdSSEditSums);
QOR_SECOND_NAME(__bexsSSEditCovCor, __bexdSSEditCovCor);
QOR_SECOND_NAME(__bexsSSEditCP, __bexdSSEditCP);
QOR_SECOND_NAME(__bexsSSEditPartialCovCor, __bexdSSEditPartialCovCor);
QOR_SECOND_NAME(__bexsSSEditMtxParametrz, __bexdSSEditMtxParametrz);
QOR_SECOND_NAME(__bexsSSEditQuantiles, __bexdSSEditQuantiles);
QOR_SECOND_NAME(__bexsSSEditStreamQuantiles, __bexdSSEditStreamQuantiles);
QOR_SECOND_NAME(__bexsSSEditPooledCovariance, __bexdSSEditPooledCovariance);
QOR_SECOND_NAME(__bexsSSEditRCov, __bexdSSEditRCov);
QOR_SECOND_NAME(__bexsSSEditOutDetect, __bexdSSEditOutDetect);
QOR_SECOND_NAME(__bexsSSEditMissingVals, __bexdSSEditMissingVals);

} // extern "C"
