/*
 * qor_bex_summary.h: tasks of summary statistics and their editors.
 *
 * A task is a record of addresses: of a caller's observations, and of the places where the caller wants
 * estimates and finds their parameters. The task copies none of it, so whatever is attached has to stay
 * valid for as long as something computes on the task. Editing never looks at what is attached.
 *
 * Different tasks may be used by different threads at once; one task belongs to one thread at a time.
 * Every entry returns 0 or a status, all of them negative. A failing call changes nothing.
 *
 * This version makes, edits and deletes tasks; it has no routine yet that computes from one. The shapes
 * given below are those such routines go by.
 */
#ifndef QOR_BEX_SUMMARY_H
#define QOR_BEX_SUMMARY_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Parameters ---------------------------------------------------------------------------------------
 *
 * p is the dimension (the number of variables) and n the number of observations. What is marked "int"
 * is attached with __bexiSSEditTask and consists of 64-bit integers where the task was made wide, of
 * 32-bit ones elsewhere. All else is of the task's precision, float or double. Without a shape: one value. */

enum {
    /* The observations */
    BEX_SS_DIMENSION = 1,            /* int: p */
    BEX_SS_OBSERVATION_COUNT = 2,    /* int: n */
    BEX_SS_OBSERVATIONS = 3,         /* p x n, laid out as the next parameter says */
    BEX_SS_OBSERVATION_STORAGE = 4,  /* int: BEX_SS_BY_VARIABLE or BEX_SS_BY_OBSERVATION */
    BEX_SS_VARIABLE_INDICES = 5,     /* int, p: non-zero where a variable takes part; without them all do */
    BEX_SS_WEIGHTS = 6,              /* n; without them all are 1 */
    BEX_SS_ACCUMULATED_WEIGHTS = 23, /* 2: sum of the weights, sum of their squares */

    /* Moments and sums of powers, of each variable: p */
    BEX_SS_MEAN = 7,
    BEX_SS_RAW_MOMENT_2 = 8,
    BEX_SS_RAW_MOMENT_3 = 9,
    BEX_SS_RAW_MOMENT_4 = 10,
    BEX_SS_CENTRAL_MOMENT_2 = 11,
    BEX_SS_CENTRAL_MOMENT_3 = 12,
    BEX_SS_CENTRAL_MOMENT_4 = 13,
    BEX_SS_SUM = 67,
    BEX_SS_RAW_SUM_2 = 68,
    BEX_SS_RAW_SUM_3 = 69,
    BEX_SS_RAW_SUM_4 = 70,
    BEX_SS_CENTRAL_SUM_2 = 71,
    BEX_SS_CENTRAL_SUM_3 = 72,
    BEX_SS_CENTRAL_SUM_4 = 73,

    /* Shape, range and spread, of each variable: p */
    BEX_SS_KURTOSIS = 14,
    BEX_SS_SKEWNESS = 15,
    BEX_SS_MINIMUM = 16,
    BEX_SS_MAXIMUM = 17,
    BEX_SS_VARIATION = 18, /* standard deviation over mean */
    BEX_SS_MEDIAN_ABSOLUTE_DEVIATION = 76,
    BEX_SS_MEAN_ABSOLUTE_DEVIATION = 77,

    /* Matrices, p x p and symmetric, each with a code (int) for how it is stored */
    BEX_SS_COVARIANCE = 19,
    BEX_SS_COVARIANCE_STORAGE = 20,
    BEX_SS_CORRELATION = 21,
    BEX_SS_CORRELATION_STORAGE = 22,
    BEX_SS_CROSS_PRODUCT = 74,
    BEX_SS_CROSS_PRODUCT_STORAGE = 75,
    BEX_SS_PARAMETRIZED_CORRELATION = 60, /* a positive semidefinite matrix near the correlation */
    BEX_SS_PARAMETRIZED_CORRELATION_STORAGE = 61,

    /* Partial covariance and correlation: square, of the order of the variables that are explained */
    BEX_SS_PARTIAL_INDICES = 45, /* int, p: the part each variable plays */
    BEX_SS_PARTIAL_COVARIANCE = 46,
    BEX_SS_PARTIAL_COVARIANCE_STORAGE = 47, /* int */
    BEX_SS_PARTIAL_CORRELATION = 48,
    BEX_SS_PARTIAL_CORRELATION_STORAGE = 49, /* int */

    /* Quantiles: m orders, each in [0, 1] */
    BEX_SS_QUANTILE_COUNT = 24,              /* int: m */
    BEX_SS_QUANTILE_ORDERS = 25,             /* m */
    BEX_SS_QUANTILES = 26,                   /* p x m */
    BEX_SS_ORDER_STATISTICS = 27,            /* p x n */
    BEX_SS_ORDER_STATISTICS_STORAGE = 44,    /* int: as of observations */
    BEX_SS_SORTED_OBSERVATIONS = 78,         /* p x n */
    BEX_SS_SORTED_OBSERVATIONS_STORAGE = 79, /* int: as of observations */

    /* Quantiles of observations that arrive in blocks: m orders */
    BEX_SS_STREAM_QUANTILE_COUNT = 64,           /* int: m */
    BEX_SS_STREAM_QUANTILE_ORDERS = 65,          /* m */
    BEX_SS_STREAM_QUANTILES = 66,                /* p x m */
    BEX_SS_STREAM_QUANTILE_PARAMETER_COUNT = 62, /* int: length of the next */
    BEX_SS_STREAM_QUANTILE_PARAMETERS = 63,      /* of the algorithm: accuracy wanted */

    /* Groups of observations: g groups */
    BEX_SS_GROUP_INDICES = 28,             /* int, n: the group of each observation */
    BEX_SS_POOLED_MEAN = 30,               /* p */
    BEX_SS_POOLED_COVARIANCE = 31,         /* p x p */
    BEX_SS_POOLED_COVARIANCE_STORAGE = 29, /* int */
    BEX_SS_REQUESTED_GROUPS = 32,          /* int, g: non-zero where the group's own estimates are wanted */
    BEX_SS_GROUP_MEANS = 33,               /* p for each requested group */
    BEX_SS_GROUP_COVARIANCES = 35,         /* p x p for each requested group */
    BEX_SS_GROUP_COVARIANCE_STORAGE = 34,  /* int */

    /* Robust mean and covariance */
    BEX_SS_ROBUST_COVARIANCE_STORAGE = 36, /* int */
    BEX_SS_ROBUST_PARAMETER_COUNT = 37,    /* int: length of the next */
    BEX_SS_ROBUST_PARAMETERS = 38,         /* of the algorithm */
    BEX_SS_ROBUST_MEAN = 39,               /* p */
    BEX_SS_ROBUST_COVARIANCE = 40,         /* p x p */

    /* Outliers */
    BEX_SS_OUTLIER_PARAMETER_COUNT = 41, /* int: length of the next */
    BEX_SS_OUTLIER_PARAMETERS = 42,      /* of the algorithm */
    BEX_SS_OUTLIER_WEIGHTS = 43,         /* n: 0 for an outlier, 1 elsewhere */

    /* Missing values, by multiple imputation: each count (int) is the length of the array after it */
    BEX_SS_IMPUTATION_PARAMETER_COUNT = 50,
    BEX_SS_IMPUTATION_PARAMETERS = 51, /* of the algorithm */
    BEX_SS_INITIAL_ESTIMATE_COUNT = 52,
    BEX_SS_INITIAL_ESTIMATES = 53, /* mean and covariance to start from */
    BEX_SS_PRIOR_COUNT = 58,
    BEX_SS_PRIOR = 59, /* parameters of the prior distribution */
    BEX_SS_IMPUTED_VALUE_COUNT = 54,
    BEX_SS_IMPUTED_VALUES = 55,
    BEX_SS_IMPUTATION_ESTIMATE_COUNT = 56,
    BEX_SS_IMPUTATION_ESTIMATES = 57 /* mean and covariance of each iteration */
};

/* How the p x n matrix of observations is stored. */
enum {
    BEX_SS_BY_VARIABLE = 0x10000,   /* element (i, j) at [i * n + j]: the values of a variable together */
    BEX_SS_BY_OBSERVATION = 0x20000 /* element (i, j) at [i + j * p]: the values of an observation together */
};

/* Status codes -------------------------------------------------------------------------------------
 *
 * The long list names the parameter that was null. */

enum {
    BEX_SS_STATUS_OK = 0,
    BEX_SS_STATUS_UNKNOWN_PARAMETER = -3, /* no such code, or a code of another editor */
    BEX_SS_STATUS_NO_MEMORY = -4000,
    BEX_SS_STATUS_BAD_DIMENSION = -4001,           /* null, or below 1 at creation */
    BEX_SS_STATUS_BAD_OBSERVATION_COUNT = -4002,   /* null, or below 1 at creation */
    BEX_SS_STATUS_BAD_OBSERVATION_STORAGE = -4003, /* a code other than the two, at creation */
    BEX_SS_STATUS_NULL_TASK = -4031,
    BEX_SS_STATUS_NULL_STORAGE = -4044, /* of whatever matrix */

    BEX_SS_STATUS_NULL_VARIABLE_INDICES = -4004,
    BEX_SS_STATUS_NULL_WEIGHTS = -4005,
    BEX_SS_STATUS_NULL_MEAN = -4006, /* also the sums */
    BEX_SS_STATUS_NULL_RAW_MOMENT_2 = -4007,
    BEX_SS_STATUS_NULL_RAW_MOMENT_3 = -4008,
    BEX_SS_STATUS_NULL_RAW_MOMENT_4 = -4009,
    BEX_SS_STATUS_NULL_CENTRAL_MOMENT_2 = -4010,
    BEX_SS_STATUS_NULL_CENTRAL_MOMENT_3 = -4011,
    BEX_SS_STATUS_NULL_CENTRAL_MOMENT_4 = -4012,
    BEX_SS_STATUS_NULL_KURTOSIS = -4013,
    BEX_SS_STATUS_NULL_SKEWNESS = -4014,
    BEX_SS_STATUS_NULL_MINIMUM = -4015,
    BEX_SS_STATUS_NULL_MAXIMUM = -4016,
    BEX_SS_STATUS_NULL_VARIATION = -4017,
    BEX_SS_STATUS_NULL_COVARIANCE = -4018,
    BEX_SS_STATUS_NULL_CORRELATION = -4019,
    BEX_SS_STATUS_NULL_ACCUMULATED_WEIGHTS = -4020,
    BEX_SS_STATUS_NULL_QUANTILE_ORDERS = -4021,
    BEX_SS_STATUS_NULL_QUANTILE_COUNT = -4022,
    BEX_SS_STATUS_NULL_QUANTILES = -4023,
    BEX_SS_STATUS_NULL_ORDER_STATISTICS = -4024,
    BEX_SS_STATUS_NULL_ROBUST_COVARIANCE = -4027,
    BEX_SS_STATUS_NULL_ROBUST_MEAN = -4028,
    BEX_SS_STATUS_NULL_OBSERVATIONS = -4032,
    BEX_SS_STATUS_NULL_POOLED_COVARIANCE = -4034,
    BEX_SS_STATUS_NULL_POOLED_MEAN = -4035,
    BEX_SS_STATUS_NULL_GROUP_COVARIANCES = -4036,
    BEX_SS_STATUS_NULL_GROUP_MEANS = -4037,
    BEX_SS_STATUS_NULL_GROUP_INDICES = -4038, /* also the requested groups */
    BEX_SS_STATUS_NULL_OUTLIER_PARAMETERS = -4039,
    BEX_SS_STATUS_NULL_OUTLIER_PARAMETER_COUNT = -4040,
    BEX_SS_STATUS_NULL_OUTLIER_WEIGHTS = -4041,
    BEX_SS_STATUS_NULL_ROBUST_PARAMETERS = -4042,
    BEX_SS_STATUS_NULL_ROBUST_PARAMETER_COUNT = -4043,
    BEX_SS_STATUS_NULL_PARTIAL_INDICES = -4045,
    BEX_SS_STATUS_NULL_PARTIAL_COVARIANCE = -4046,
    BEX_SS_STATUS_NULL_PARTIAL_CORRELATION = -4047,
    BEX_SS_STATUS_NULL_IMPUTATION_PARAMETERS = -4048,
    BEX_SS_STATUS_NULL_IMPUTATION_PARAMETER_COUNT = -4049,
    BEX_SS_STATUS_NULL_INITIAL_ESTIMATE_COUNT = -4052,
    BEX_SS_STATUS_NULL_INITIAL_ESTIMATES = -4053,
    BEX_SS_STATUS_NULL_IMPUTED_VALUES = -4054,
    BEX_SS_STATUS_NULL_IMPUTED_VALUE_COUNT = -4055,
    BEX_SS_STATUS_NULL_IMPUTATION_ESTIMATE_COUNT = -4056,
    BEX_SS_STATUS_NULL_IMPUTATION_ESTIMATES = -4057,
    BEX_SS_STATUS_NULL_PRIOR_COUNT = -4061,
    BEX_SS_STATUS_NULL_PRIOR = -4062,
    BEX_SS_STATUS_NULL_STREAM_QUANTILE_PARAMETERS = -4065,
    BEX_SS_STATUS_NULL_STREAM_QUANTILE_PARAMETER_COUNT = -4066,
    BEX_SS_STATUS_NULL_STREAM_QUANTILE_ORDERS = -4068,
    BEX_SS_STATUS_NULL_STREAM_QUANTILE_COUNT = -4069,
    BEX_SS_STATUS_NULL_STREAM_QUANTILES = -4070,
    BEX_SS_STATUS_NULL_PARAMETRIZED_CORRELATION = -4071,
    BEX_SS_STATUS_NULL_RAW_SUM_2 = -4075,
    BEX_SS_STATUS_NULL_RAW_SUM_3 = -4076,
    BEX_SS_STATUS_NULL_RAW_SUM_4 = -4077,
    BEX_SS_STATUS_NULL_CENTRAL_SUM_2 = -4078,
    BEX_SS_STATUS_NULL_CENTRAL_SUM_3 = -4079,
    BEX_SS_STATUS_NULL_CENTRAL_SUM_4 = -4080,
    BEX_SS_STATUS_NULL_CROSS_PRODUCT = -4081,
    BEX_SS_STATUS_NULL_MEDIAN_ABSOLUTE_DEVIATION = -4082,
    BEX_SS_STATUS_NULL_MEAN_ABSOLUTE_DEVIATION = -4083,
    BEX_SS_STATUS_NULL_SORTED_OBSERVATIONS = -4084
};

/* Entries ------------------------------------------------------------------------------------------
 *
 * Each in single (s) and double (d) precision. The editors only store addresses: their two names lead
 * to one routine, and a task may be edited under either. */

#define BEX_SS_BOTH(name, arguments)                                                                         \
    int32_t __bexsSS##name arguments;                                                                        \
    int32_t __bexdSS##name arguments;

/* Makes a task. p, n and xstorage (the addresses of parameters 1, 2 and 4) point to 64-bit integers where
 * wide is non-zero, to 32-bit integers elsewhere, and so do all integer parameters of the task. x, w and
 * indices are the observations, the weights and the variable indices; each may be null. *p has to be at
 * least 1. n and xstorage may be null without x; with x, *xstorage has to be one of the two codes and *n
 * at least 1. On failure *task is left as it is. Statuses: BEX_SS_STATUS_BAD_DIMENSION,
 * BEX_SS_STATUS_NULL_STORAGE, BEX_SS_STATUS_BAD_OBSERVATION_STORAGE,
 * BEX_SS_STATUS_BAD_OBSERVATION_COUNT, BEX_SS_STATUS_NULL_TASK (task is null),
 * BEX_SS_STATUS_NO_MEMORY; where several apply, the first of them. */
BEX_SS_BOTH(NewTask, (void **task, const void *p, const void *n, const void *xstorage, const void *x,
                      const void *w, const void *indices, int32_t wide))

/* Attaches one parameter: `value` is the address of what it holds, in place of what was attached before.
 * Results will be written there too: "const" says that the editor itself writes nothing. The s and d
 * editors take the parameters of real type, the i editor those marked "int". Statuses:
 * BEX_SS_STATUS_NULL_TASK, BEX_SS_STATUS_UNKNOWN_PARAMETER, the parameter's own for a null value; where
 * several apply, the first of them. */
BEX_SS_BOTH(EditTask, (void *task, int32_t code, const void *value))
int32_t __bexiSSEditTask(void *task, int32_t code, const void *value);

/* Grouped editors: each attaches those of its arguments that are not null; the other parameters keep what
 * they have. Status: BEX_SS_STATUS_NULL_TASK. */
BEX_SS_BOTH(EditMoments, (void *task, const void *mean, const void *raw_moment_2, const void *raw_moment_3,
                          const void *raw_moment_4, const void *central_moment_2,
                          const void *central_moment_3, const void *central_moment_4))
BEX_SS_BOTH(EditSums,
            (void *task, const void *sum, const void *raw_sum_2, const void *raw_sum_3, const void *raw_sum_4,
             const void *central_sum_2, const void *central_sum_3, const void *central_sum_4))
BEX_SS_BOTH(EditCovCor, (void *task, const void *mean, const void *covariance, const void *covariance_storage,
                         const void *correlation, const void *correlation_storage))
BEX_SS_BOTH(EditCP, (void *task, const void *mean, const void *sum, const void *cross_product,
                     const void *cross_product_storage))
BEX_SS_BOTH(EditPartialCovCor,
            (void *task, const void *partial_indices, const void *covariance, const void *covariance_storage,
             const void *correlation, const void *correlation_storage, const void *partial_covariance,
             const void *partial_covariance_storage, const void *partial_correlation,
             const void *partial_correlation_storage))
BEX_SS_BOTH(EditMtxParametrz, (void *task, const void *correlation, const void *correlation_storage,
                               const void *parametrized, const void *parametrized_storage))
BEX_SS_BOTH(EditQuantiles, (void *task, const void *count, const void *orders, const void *quantiles,
                            const void *order_statistics, const void *order_statistics_storage))
BEX_SS_BOTH(EditStreamQuantiles, (void *task, const void *count, const void *orders, const void *quantiles,
                                  const void *parameter_count, const void *parameters))
BEX_SS_BOTH(EditPooledCovariance,
            (void *task, const void *group_indices, const void *pooled_mean, const void *pooled_covariance,
             const void *requested_groups, const void *group_means, const void *group_covariances))
BEX_SS_BOTH(EditRCov, (void *task, const void *covariance_storage, const void *parameter_count,
                       const void *parameters, const void *mean, const void *covariance))
BEX_SS_BOTH(EditOutDetect,
            (void *task, const void *parameter_count, const void *parameters, const void *weights))
BEX_SS_BOTH(EditMissingVals, (void *task, const void *parameter_count, const void *parameters,
                              const void *initial_estimate_count, const void *initial_estimates,
                              const void *prior_count, const void *prior, const void *imputed_value_count,
                              const void *imputed_values, const void *estimate_count, const void *estimates))

#undef BEX_SS_BOTH

/* Deletes a task: releases what routines have kept in it and sets *task to null. What the caller attached
 * is not touched. Status: BEX_SS_STATUS_NULL_TASK where task or *task is null. */
int32_t __bexSSDeleteTask(void **task);

#ifdef __cplusplus
}
#endif

#endif
