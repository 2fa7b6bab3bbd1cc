// The one place that declares the LAPACK routines the program calls.
// Fortran calling convention: every argument by pointer, matrices by
// columns; hidden string lengths are passed for character arguments.
//
// info < 0 from any of these is a programming error (a bad argument) and
// aborts through `LapackArgumentError`; info > 0 is a numerical failure that
// the caller handles.
#ifndef VELQUORIN_KERNELS_LAPACK_H_
#define VELQUORIN_KERNELS_LAPACK_H_

#include <cstddef>

extern "C" {

// Symmetric eigenproblem, all eigenvalues (and vectors with jobz 'V').
void dsyev_(const char* jobz,
            const char* uplo,
            const int* n,
            double* a,
            const int* lda,
            double* w,
            double* work,
            const int* lwork,
            int* info,
            std::size_t jobz_len,
            std::size_t uplo_len);

// Cholesky factorisation, its L1 condition estimate and the inverse from it.
void dpotrf_(
    const char* uplo, const int* n, double* a, const int* lda, int* info, std::size_t uplo_len);
void dpocon_(const char* uplo,
             const int* n,
             const double* a,
             const int* lda,
             const double* anorm,
             double* rcond,
             double* work,
             int* iwork,
             int* info,
             std::size_t uplo_len);
void dpotri_(
    const char* uplo, const int* n, double* a, const int* lda, int* info, std::size_t uplo_len);
double dlansy_(const char* norm,
               const char* uplo,
               const int* n,
               const double* a,
               const int* lda,
               double* work,
               std::size_t norm_len,
               std::size_t uplo_len);

// Singular value decomposition of a general matrix.
void dgesvd_(const char* jobu,
             const char* jobvt,
             const int* m,
             const int* n,
             double* a,
             const int* lda,
             double* s,
             double* u,
             const int* ldu,
             double* vt,
             const int* ldvt,
             double* work,
             const int* lwork,
             int* info,
             std::size_t jobu_len,
             std::size_t jobvt_len);

}  // extern "C"

namespace vq {

// Aborts with an internal message naming the routine and the argument.
[[noreturn]] void LapackArgumentError(const char* routine, int info);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_LAPACK_H_
