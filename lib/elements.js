'use strict';

/*
 * The GStreamer elements that the default SDK is made of, by what they are for: each with the file
 * of its plug-in and the package of Debian and Ubuntu that holds it. Elements of GStreamer's core
 * are not among them. The SDK's own table is generated from this one.
 */

const BASE = 'gstreamer1.0-plugins-base';
const GOOD = 'gstreamer1.0-plugins-good';
const BAD = 'gstreamer1.0-plugins-bad';
const UGLY = 'gstreamer1.0-plugins-ugly';
const LIBAV = 'gstreamer1.0-libav';

/**
 * @type {Record<string, Record<string, [plugin: string, package: string]>>} elements by feature
 */
const FEATURES = {
  capture: {
    appsink: ['app', BASE],
    appsrc: ['app', BASE],
    audioconvert: ['audioconvert', BASE],
    audioresample: ['audioresample', BASE],
    videoconvert: ['videoconvertscale', BASE],
    videoconvertscale: ['videoconvertscale', BASE],
    videoflip: ['videofilter', GOOD],
  },
  'test sources': {
    audiotestsrc: ['audiotestsrc', BASE],
    videotestsrc: ['videotestsrc', BASE],
    timeoverlay: ['pango', 'gstreamer1.0-x'],
  },
  'camera capture': {
    v4l2src: ['video4linux2', GOOD],
    jpegdec: ['jpeg', GOOD],
    deinterlace: ['deinterlace', GOOD],
    pipewiresrc: ['pipewire', 'gstreamer1.0-pipewire'],
  },
  'audio devices': {
    pulsesink: ['pulseaudio', GOOD],
    pulsesrc: ['pulseaudio', GOOD],
  },
  'publishing audio': {
    avenc_aac: ['libav', LIBAV],
    aacparse: ['audioparsers', GOOD],
    flvmux: ['flv', GOOD],
  },
  'publishing video': {
    videocrop: ['videocrop', GOOD],
    x264enc: ['x264', UGLY],
    h264parse: ['videoparsersbad', BAD],
  },
  playing: {
    decodebin: ['playback', BASE],
    uridecodebin: ['playback', BASE],
    avdec_h264: ['libav', LIBAV],
    avdec_aac: ['libav', LIBAV],
    flvdemux: ['flv', GOOD],
    qtdemux: ['isomp4', GOOD],
    tsdemux: ['mpegtsdemux', BAD],
  },
  'playing HLS': {
    hlsdemux: ['hls', BAD],
  },
  'playing RTSP': {
    rtspsrc: ['rtsp', GOOD],
    rtpjitterbuffer: ['rtpmanager', GOOD],
    rtph264depay: ['rtp', GOOD],
  },
  'playing SRT': {
    srtsrc: ['srt', BAD],
  },
};

/**
 * Elements that the default SDK uses where another one is missing.
 * @type {Record<string, [element: string, plugin: string]>} by the missing one
 */
const ALTERNATIVES = { x264enc: ['openh264enc', 'openh264'] };

module.exports = { ALTERNATIVES, FEATURES };
