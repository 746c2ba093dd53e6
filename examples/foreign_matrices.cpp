// Matrices go to libraries with column vectors and come back: copying the sixteen floats converts.
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtRotation.h>

#include <Eigen/Geometry>
#include <glm/glm.hpp>

#include <cstdio>
#include <cstring>

/// Prints a point as all three libraries see it.
void transformEverywhere(ZtMat4f& m, const ZtVec3f& p) {
    ZtVec3f ours;
    m.multVecMatrix(p, ours);

    Eigen::Matrix4f e = Eigen::Map<const Eigen::Matrix4f>(m[0]);
    const Eigen::Vector3f eigens = (e * Eigen::Vector4f(p.x, p.y, p.z, 1)).hnormalized();
    ZtMat4f back;
    std::memcpy(back[0], e.data(), sizeof back);

    glm::mat4 g;
    std::memcpy(&g[0][0], m[0], sizeof g);
    const glm::vec4 glms = g * glm::vec4(p.x, p.y, p.z, 1);

    std::printf("%g %g %g\n", static_cast<double>(ours.x), static_cast<double>(ours.y),
                static_cast<double>(ours.z));
    std::printf("%g %g %g\n", static_cast<double>(eigens.x()), static_cast<double>(eigens.y()),
                static_cast<double>(eigens.z()));
    std::printf("%g %g %g\n", static_cast<double>(glms.x), static_cast<double>(glms.y),
                static_cast<double>(glms.z));
    std::printf("%s\n", back == m ? "the same matrix" : "another matrix");
}

int main() {
    ZtMat4f m;
    m.setTransform(ZtVec3f(4, 5, 6), ZtRotation(ZtVec3f(0, 0, 1), 0), ZtVec3f(2, 2, 2));
    transformEverywhere(m, ZtVec3f(1, 2, 3));
}
