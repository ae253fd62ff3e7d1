// Pieces shared by the polynomial and the general linear model.
#ifndef ZOR_LINEAR_MODEL_SOLVE_H
#define ZOR_LINEAR_MODEL_SOLVE_H

// Inverse of the normal matrix sum_j w[j] X[j][a] X[j][b] into N
// (ncoeff by ncoeff); a null `weights` means all weights 1. A singular
// matrix is not reported: the model then fits with what the inversion left.
void linear_model_normal_inverse(int nt, int ncoeff, float **X, const float *weights, float **N);

// Pinv[c][j] = sum_k X[j][k] Ninv[c][k] w[j].
void linear_model_weighted_pinv(int nt, int ncoeff, float **X, const float *weights, float **Ninv,
                                float **Pinv);

// Beta = Pinv·data, then fit = X·Beta, both in single precision. `fit` may
// be `data` itself.
void linear_model_apply(int nt, int ncoeff, float **X, float **Pinv, const float *data,
                        float *Beta, float *fit);

// A zeroed float matrix and vector.
float **linear_model_zero_matrix(int rows, int cols);
float *linear_model_zero_vector(int count);

#endif
