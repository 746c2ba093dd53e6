// Composes affine transforms and takes them apart.
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtVec3f.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "Jacobi.h"

ZtMat4f& ZtMat4f::setTransform(const ZtVec3f& t, const ZtRotation& r, const ZtVec3f& s) {
    return setTransform(t, r, s, ZtRotation::identity());
}

ZtMat4f& ZtMat4f::setTransform(const ZtVec3f& t, const ZtRotation& r, const ZtVec3f& s,
                               const ZtRotation& so) {
    return setTransform(t, r, s, so, ZtVec3f());
}

ZtMat4f& ZtMat4f::setTransform(const ZtVec3f& t, const ZtRotation& r, const ZtVec3f& s,
                               const ZtRotation& so, const ZtVec3f& center) {
    makeIdentity();
    const auto translate = [this](const ZtVec3f& by) {
        if (by != ZtVec3f())
            multLeft(ZtMat4f().setTranslate(by));
    };
    const auto rotate = [this](const ZtRotation& by) {
        if (by != ZtRotation::identity())
            multLeft(ZtMat4f().setRotate(by));
    };
    // From the last step to the first, since each is put before those that are there.
    translate(t);
    translate(center);
    rotate(r);
    rotate(so);
    if (s != ZtVec3f(1, 1, 1))
        multLeft(ZtMat4f().setScale(s));
    rotate(so.inverse());
    translate(-center);
    return *this;
}

void ZtMat4f::getTransform(ZtVec3f& t, ZtRotation& r, ZtVec3f& s, ZtRotation& so) const {
    getTransform(t, r, s, so, ZtVec3f());
}

void ZtMat4f::getTransform(ZtVec3f& t, ZtRotation& r, ZtVec3f& s, ZtRotation& so,
                           const ZtVec3f& center) const {
    ZtMat4f m = *this;
    if (center != ZtVec3f()) {
        m.multLeft(ZtMat4f().setTranslate(center));
        m.multRight(ZtMat4f().setTranslate(-center));
    }
    ZtMat4f axes;
    ZtMat4f turn;
    ZtMat4f projection;
    if (m.factor(axes, s, turn, t, projection)) {
        r.setValue(turn);
        so.setValue(axes);
    } else {
        r.makeIdentity();
        so.makeIdentity();
        s.setValue(1, 1, 1);
    }
}

bool ZtMat4f::factor(ZtMat4f& r, ZtVec3f& s, ZtMat4f& u, ZtVec3f& t, ZtMat4f& proj) const {
    const ZtMat4f m = *this;  // of which an output may be a part
    t = ZtVec3f(m.m_[3]);
    proj.makeIdentity();
    const float det = m.det3();
    const float sign = det < 0 ? -1.0f : 1.0f;
    if (!(double(det) * sign >= 1e-12))
        return false;
    // A A^T has the squares of A's scales: in floats, half of their digits would be lost.
    double a[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            a[i][j] = double(m.m_[i][0]) * m.m_[j][0] + double(m.m_[i][1]) * m.m_[j][1] +
                      double(m.m_[i][2]) * m.m_[j][2];
    double squares[3] = {};
    double axes[3][3] = {};  // the k-th in column k
    int rotations;
    jacobi(a, squares, axes, rotations);

    double scales[3];
    for (int k = 0; k < 3; ++k) {
        scales[k] = sign * std::sqrt(std::max(squares[k], std::numeric_limits<double>::min()));
        s[k] = static_cast<float>(scales[k]);
    }
    r.setValue(ZtVec3f(float(axes[0][0]), float(axes[1][0]), float(axes[2][0])),
               ZtVec3f(float(axes[0][1]), float(axes[1][1]), float(axes[2][1])),
               ZtVec3f(float(axes[0][2]), float(axes[1][2]), float(axes[2][2])), ZtVec3f());
    u.makeIdentity();
    for (int i = 0; i < 3; ++i) {
        double row[3] = {};  // of r^T diag(1 / s) r
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k)
                row[j] += axes[i][k] * axes[j][k] / scales[k];
        for (int j = 0; j < 3; ++j)
            u.m_[i][j] =
                static_cast<float>(row[0] * m.m_[0][j] + row[1] * m.m_[1][j] + row[2] * m.m_[2][j]);
    }
    return true;
}
