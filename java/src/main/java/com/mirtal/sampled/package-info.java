/**
 * AAC for {@code javax.sound.sampled.AudioSystem}, which finds the reader by itself once the jar is there:
 * {@code AudioSystem.getAudioInputStream(new File("song.m4a"))} gives the decoded sound.
 */
package com.mirtal.sampled;
