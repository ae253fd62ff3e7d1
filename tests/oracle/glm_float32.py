"""A single-precision emulation of the weighted fit, with the sums in the
engine's order, for the outcomes that rounding decides: the stopping rule
of the iterated weights."""
import numpy as np

f32 = np.float32


def complete_model(X, W, include, weighted):
    n, k = X.shape
    XtX = np.zeros((k, k), dtype=np.float32)
    for t in range(n):
        XtX = XtX + (W[t] * X[t, :])[:, None] * X[t, None, :]
    inv = np.linalg.inv(XtX.astype(np.float64)).astype(np.float32)
    P = np.zeros((k, n), dtype=np.float32)
    for b in range(k):
        P = P + inv[:, b][:, None] * X[None, :, b]
    hat = np.zeros(n, dtype=np.float32)
    for a in range(k):
        hat = hat + X[:, a] * P[a, :] * W
    trace = f32(0)
    for t in range(n):
        trace = f32(trace + hat[t])
    dof = f32(int(include.sum()) + 0.5 - 1.25 * float(trace)) if weighted else None
    return P, dof


def fit(X, Xorig, P, W, include, y, dof):
    n, k = X.shape
    scaled = (include.astype(np.float32) * W) * y
    beta = np.zeros(k, dtype=np.float32)
    for t in range(n):
        beta = beta + P[:, t] * scaled[t]
    drawn = np.zeros(n, dtype=np.float32)
    fitted = np.zeros(n, dtype=np.float32)
    for c in range(k):
        drawn = drawn + beta[c] * Xorig[:, c]
        fitted = fitted + beta[c] * X[:, c]
    y_prime = include.astype(np.float32) * y
    sigma2 = f32(0)
    for t in range(n):
        d = f32(y_prime[t] - fitted[t])
        sigma2 = f32(sigma2 + d * d)
    sigma2 = f32(sigma2 / dof)
    return beta, drawn, sigma2


def iterated_fit(Xorig, include, y):
    """Equal weights first, then at most 10 re-weighted passes while sigma2
    changes by more than 0.1 percent. Returns beta, sigma2, dof, passes."""
    X = (Xorig * include[:, None]).astype(np.float32)
    Xorig = Xorig.astype(np.float32)
    y = y.astype(np.float32)
    n = len(y)
    W = np.ones(n, dtype=np.float32)
    P, dof = complete_model(X, W, include, True)
    beta, drawn, sigma2 = fit(X, Xorig, P, W, include, y, dof)
    if sigma2 == 0:
        return beta, sigma2, dof, 0
    tolerance = f32(0.1)
    difference = f32(2) * tolerance
    passes = 0
    nincluded = int(include.sum())
    while difference > tolerance and passes < 10:
        last = sigma2
        epsilon = f32(np.sqrt(float(last)) / 10.0)
        raw = (np.abs(y - drawn) + epsilon) * include.astype(np.float32)
        trace = 0.0
        for t in range(n):
            trace += float(raw[t])
        raw = (raw.astype(np.float64) / (trace / nincluded)).astype(np.float32)
        with np.errstate(divide='ignore'):
            W = np.where(raw != 0, f32(1) / (raw * raw), f32(0)).astype(np.float32)
        P, dof = complete_model(X, W, include, True)
        beta, drawn, sigma2 = fit(X, Xorig, P, W, include, y, dof)
        difference = f32(f32(abs(sigma2 - last)) * f32(100)) / last
        passes += 1
    return beta, sigma2, dof, passes
