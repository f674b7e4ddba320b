// The framebuffer pool and the presentation ring.
#include "GlRuntimeTestSupport.h"

#include <QOpenGLExtraFunctions>

#include <algorithm>
#include <set>
#include <vector>

namespace {

using orvel::test::GlRuntimeTest;

TEST_F(GlRuntimeTest, PoolHandsBackTheSameSizeOnlyAndKeepsAtMostThirtyTwoIdle)
{
    onGl([&] {
        const int idle = gl().pooledFboCount();
        ASSERT_LT(idle, 32) << "the pool needs room for one more";
        orvel::GlFbo first = gl().acquireFbo(64, 32);
        ASSERT_TRUE(first.isValid());
        const QOpenGLFramebufferObject *pooled = first.fbo.get();
        gl().releaseFbo(first);
        EXPECT_EQ(first.fbo, nullptr);
        EXPECT_EQ(gl().pooledFboCount(), idle + 1);

        // Neighbouring and transposed sizes are new framebuffers of exactly their own size.
        for (const QSize size : {QSize(32, 64), QSize(64, 33), QSize(63, 32)}) {
            orvel::GlFbo other = gl().acquireFbo(size.width(), size.height());
            ASSERT_TRUE(other.isValid());
            EXPECT_NE(other.fbo.get(), pooled);
            EXPECT_EQ(other.fbo->size(), size);
            EXPECT_EQ(QSize(other.width, other.height), size);
        }
        EXPECT_EQ(gl().pooledFboCount(), idle + 1);

        orvel::GlFbo again = gl().acquireFbo(64, 32);
        EXPECT_EQ(again.fbo.get(), pooled);
        EXPECT_EQ(QSize(again.width, again.height), QSize(64, 32));
        EXPECT_EQ(gl().pooledFboCount(), idle);

        // Sides of zero or less give a 1 x 1 framebuffer rather than a failure.
        EXPECT_EQ(gl().acquireFbo(0, -5).fbo->size(), QSize(1, 1));
        EXPECT_EQ(gl().acquirePresentTarget(-1, 0).fbo->size(), QSize(1, 1));

        // At most thirty-two wait idle.
        std::vector<orvel::GlFbo> taken;
        for (int i = 0; i < 33; ++i)
            taken.push_back(gl().acquireFbo(16, 16));
        int keptByCaller = 0;
        for (int i = 0; i < 33; ++i) {
            const int idleBefore = gl().pooledFboCount();
            gl().releaseFbo(taken[size_t(i)]);
            if (idleBefore < 32) {
                EXPECT_EQ(taken[size_t(i)].fbo, nullptr) << i;
                EXPECT_EQ(gl().pooledFboCount(), idleBefore + 1);
            } else {
                // A full pool leaves the framebuffer with its owner, who deletes it.
                EXPECT_TRUE(taken[size_t(i)].isValid()) << i;
                EXPECT_EQ(gl().pooledFboCount(), 32);
                ++keptByCaller;
            }
        }
        EXPECT_GE(keptByCaller, 1);
        EXPECT_TRUE(taken[32].isValid());

        orvel::GlFbo empty;
        gl().releaseFbo(empty);
        EXPECT_EQ(gl().pooledFboCount(), 32);
    });
}

TEST_F(GlRuntimeTest, PresentRingCyclesThroughThreeSlotsOutsideThePool)
{
    onGl([&] {
        std::vector<orvel::GlFbo *> ringSlots;
        std::set<const QOpenGLFramebufferObject *> framebuffers;
        for (int i = 0; i < 3; ++i) {
            orvel::GlFbo &slot = gl().acquirePresentTarget(40, 30);
            ASSERT_TRUE(slot.isValid());
            EXPECT_EQ(slot.fbo->size(), QSize(40, 30));
            ringSlots.push_back(&slot);
            framebuffers.insert(slot.fbo.get());
            gl().publishPresentTarget(slot);
        }
        EXPECT_EQ(framebuffers.size(), 3u);

        // Round again at the same size: the first slot and its framebuffer come back.
        const QOpenGLFramebufferObject *firstFbo = ringSlots[0]->fbo.get();
        orvel::GlFbo &fourth = gl().acquirePresentTarget(40, 30);
        EXPECT_EQ(&fourth, ringSlots[0]);
        EXPECT_EQ(fourth.fbo.get(), firstFbo);
        gl().publishPresentTarget(fourth);

        // A new size replaces the framebuffer of the slot that comes next.
        orvel::GlFbo &resized = gl().acquirePresentTarget(20, 10);
        EXPECT_EQ(&resized, ringSlots[1]);
        EXPECT_EQ(resized.fbo->size(), QSize(20, 10));

        // Publishing anything but a ring slot is ignored, and ring framebuffers never reach the pool.
        orvel::GlFbo stranger = gl().acquireFbo(20, 10);
        const int idle = gl().pooledFboCount();
        gl().publishPresentTarget(stranger);
        gl().releaseFbo(stranger);
        EXPECT_EQ(gl().pooledFboCount(), std::min(idle + 1, 32));
    });
}

} // namespace
